#include "idxdata/browser/co_oib_df_browser.h"

#include <memory>
#include <new>

#include "automation/bstr.h"
#include "frame/automation_conversions.h"
#include "idxdata/browser/co_oib_files_array.h"

namespace coClasses {

namespace {

constexpr std::u16string_view kArrayFailure =
    u"Instance of the CCoOibFilesArray() cannot be initialized.";

// The list of a new files array: without memory the array cannot be initialized.
std::shared_ptr<idxdata::CFileEntries> NewFileList(const idxdata::CDataFileBrowser& browser) {
    return frame::WithContext(kArrayFailure, {}, [&] {
        try {
            return browser.NewFileList();
        } catch (const std::bad_alloc&) {
            throw frame::CComExc(E_OUTOFMEMORY);
        }
    });
}

}  // namespace

// Errors carry the identifier of IOibTDFSearchTask. Kept for compatibility.
CCoOibDFBrowser::CCoOibDFBrowser(std::u16string_view volumeFilePath)
    : CCoObject(IID_IOibTDFSearchTask), m_browser(volumeFilePath) {}

HRESULT CCoOibDFBrowser::GetFolders(BSTR rootPath, SAFEARRAY** ppFolders) {
    return Unlocked([&]() -> HRESULT {
        if (rootPath == nullptr || ppFolders == nullptr) {
            return E_INVALIDARG;
        }
        *ppFolders =
            frame::StringListToSafeArray(m_browser.GetFolders(automation::TextOf(rootPath)))
                .Detach();
        return S_OK;
    });
}

// The array is returned before it is filled: after a failure the caller has the files that
// were read before it.
HRESULT CCoOibDFBrowser::List(BSTR rootPath, bool recursive,
                              std::optional<std::u16string_view> permittedExtensions,
                              IOibFilesArray** ppFiles) {
    if (rootPath == nullptr || ppFiles == nullptr) {
        return E_INVALIDARG;
    }
    const auto files = NewFileList(m_browser);
    const auto array = frame::CreateInstance<CCoOibFilesArray>(kArrayFailure, files);
    frame::ReturnInterface(array, ppFiles);
    m_browser.ListFiles(automation::TextOf(rootPath), recursive, permittedExtensions, *files);
    return S_OK;
}

HRESULT CCoOibDFBrowser::GetFiles(BSTR rootPath, IOibFilesArray** ppFiles) {
    return Unlocked([&] { return List(rootPath, false, std::nullopt, ppFiles); });
}

HRESULT CCoOibDFBrowser::Close() {
    return Unlocked([&] {
        m_browser.Close();
        return S_OK;
    });
}

HRESULT CCoOibDFBrowser::GetFilesEx(BSTR rootPath, VARIANT_BOOL bRecursive,
                                    BSTR premittedExtentions, IOibFilesArray** ppFiles) {
    return Unlocked([&] {
        std::optional<std::u16string_view> extensions;
        if (premittedExtentions != nullptr) {
            extensions = automation::TextOf(premittedExtentions);
        }
        return List(rootPath, bRecursive != VARIANT_FALSE, extensions, ppFiles);
    });
}

}  // namespace coClasses
