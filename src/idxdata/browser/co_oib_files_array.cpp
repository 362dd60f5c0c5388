#include "idxdata/browser/co_oib_files_array.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "automation/bstr.h"
#include "frame/errors.h"
#include "platform/times.h"

namespace coClasses {

namespace {

// The bytes of a string and its end must fit 32 bits.
constexpr std::size_t kMaxUnits = std::numeric_limits<UINT>::max() / sizeof(OLECHAR) - 1;

// Before memory is taken.
void CheckLength(std::size_t units) {
    if (units > kMaxUnits) {
        throw std::bad_alloc();
    }
}

automation::CBstr JoinTexts(std::u16string_view a, std::u16string_view b) {
    CheckLength(a.size() + b.size());
    automation::CBstr joined(::SysAllocStringLen(nullptr, static_cast<UINT>(a.size() + b.size())));
    if (!joined) {
        throw std::bad_alloc();
    }
    std::copy(b.begin(), b.end(), std::copy(a.begin(), a.end(), joined.Get()));
    return joined;
}

}  // namespace

// Errors carry the identifier of IOibTDFSearchTask. Kept for compatibility.
CCoOibFilesArray::CCoOibFilesArray(std::shared_ptr<const idxdata::CFileEntries> files)
    : CCoObject(IID_IOibTDFSearchTask), m_files(std::move(files)) {}

// Files of one folder are often consecutive.
std::u16string_view CCoOibFilesArray::PrefixOf(const idxdata::CFileEntry& entry) {
    if (entry.folder != m_prefixFolder) {
        CheckLength(m_files->FolderPrefixLength(entry.folder));
        m_prefixFolder = idxdata::CListedFolders::kNoFolder;
        m_files->ComposeFolderPrefix(entry.folder, m_prefix);
        m_prefixFolder = entry.folder;
    }
    return m_prefix;
}

HRESULT CCoOibFilesArray::GetFileInfo(ULONG index, OibFileInfo* pFileInfo) {
    return Unlocked([&]() -> HRESULT {
        if (pFileInfo == nullptr) {
            return E_INVALIDARG;
        }
        if (index >= m_files->Count()) {
            throw frame::CExc(u"CCoOibFilesArray::GetFileInfo: Index is out of range.",
                              E_INVALIDARG);
        }
        const idxdata::CFileEntry& entry = m_files->At(index);
        automation::CBstr name = JoinTexts(PrefixOf(entry), idxdata::CFileEntries::NameOf(entry));
        automation::CBstr owner(automation::NewBstr(m_files->OwnerOf(entry)));
        double date = 0;  // for a time that cannot be converted
        platform::FileTimeToDate(entry.modifyTime, date);
        pFileInfo->FileName = name.Detach();
        pFileInfo->ModifyTime = date;
        pFileInfo->Size = entry.size;
        pFileInfo->Owner = owner.Detach();
        return S_OK;
    });
}

HRESULT CCoOibFilesArray::get_FilesCount(ULONG* pCount) {
    return Unlocked(
        [&] { return frame::ReturnNumber(static_cast<ULONG>(m_files->Count()), pCount); });
}

HRESULT CCoOibFilesArray::get_TotalSize(ULONGLONG* pSize) {
    return Unlocked([&] { return frame::ReturnNumber<ULONGLONG>(m_files->TotalSize(), pSize); });
}

}  // namespace coClasses
