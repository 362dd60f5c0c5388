#include "idxdata/browser/file_entries.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

#include "frame/errors.h"
#include "idxdata/browser/path_order.h"

namespace idxdata {

namespace {
constexpr char16_t kSeparator = u'\\';
}  // namespace

CListedFolders::Id CListedFolders::Add(Id parent, std::u16string_view name) {
    std::u16string prefix = m_prefixes[parent];
    prefix.reserve(prefix.size() + name.size() + 1);
    prefix += name;
    prefix += kSeparator;
    m_hasSeparatorInName = m_hasSeparatorInName || name.find(kSeparator) != name.npos;
    m_prefixes.push_back(std::move(prefix));
    m_parents.push_back(parent);
    return static_cast<Id>(m_prefixes.size() - 1);
}

std::u16string_view CListedFolders::LastElementOf(Id folder) const noexcept {
    const std::u16string_view prefix = m_prefixes[folder];
    return prefix.substr(m_prefixes[m_parents[folder]].size());
}

void CFileEntries::Reserve(std::size_t files) {
    m_entries.reserve(files);
    m_keys.reserve(files);
    m_order.reserve(files);
}

void CFileEntries::AddFile(CListedFolders::Id folder, const FileRecordView& file) {
    if (m_entries.size() >= std::numeric_limits<std::uint32_t>::max()) {
        throw frame::CExc(u"There are too many files in the listing.", frame::kFail);
    }
    const std::u16string_view name = m_names.Add(file.nameBytes, file.nameLength);
    m_hasSeparatorInName = m_hasSeparatorInName || name.find(kSeparator) != name.npos;
    m_keys.push_back(PathKeyOf(name));
    m_order.push_back(static_cast<std::uint32_t>(m_entries.size()));
    m_entries.push_back(
        {name.data(), file.nameLength, folder, file.ownerIndex, file.modifyTime, file.size});
}

int CFileEntries::CompareFull(std::uint32_t a, std::uint32_t b) const noexcept {
    const CFileEntry& x = m_entries[a];
    const CFileEntry& y = m_entries[b];
    return ComparePathsNoCase(FolderPrefixOf(x), NameOf(x), FolderPrefixOf(y), NameOf(y));
}

void CFileEntries::SortByName() {
    if (m_hasSeparatorInName || m_folders.HasSeparatorInName()) {
        // A name with a backslash can sort between the files of another folder.
        std::sort(m_order.begin(), m_order.end(),
                  [&](std::uint32_t a, std::uint32_t b) { return CompareFull(a, b) < 0; });
        return;
    }
    m_order = OrderByFolders(m_folders, m_entries, std::exchange(m_keys, {}));
}

std::u16string_view CFileEntries::OwnerOf(const CFileEntry& entry) const noexcept {
    return m_owners->Contains(entry.owner) ? (*m_owners)[entry.owner].name : std::u16string_view();
}

std::uint64_t CFileEntries::TotalSize() const noexcept {
    return std::accumulate(m_entries.begin(), m_entries.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const CFileEntry& entry) {
                               return sum + static_cast<std::uint64_t>(entry.size);
                           });
}

}  // namespace idxdata
