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

// The prefixes of a sort by whole paths have at most this many code units, and as many for each
// unit of the folders' names: the names of a deep tree are in many prefixes.
constexpr std::size_t kFreePrefixUnits = 16 * 1024 * 1024;
constexpr std::size_t kPrefixUnitsPerUnit = 64;

}  // namespace

CListedFolders::Id CListedFolders::Add(Id parent, std::u16string_view name) {
    m_hasSeparatorInName =
        m_hasSeparatorInName || name.find(kSeparator) != std::u16string_view::npos;
    m_element = name;
    m_element += kSeparator;
    m_elements.push_back(m_texts.Add(m_element));
    m_parents.push_back(parent);
    m_elementUnits += m_element.size();
    return static_cast<Id>(m_elements.size() - 1);
}

std::size_t CListedFolders::PrefixLength(Id folder) const noexcept {
    std::size_t units = 0;
    for (; folder != kListedFolder; folder = m_parents[folder]) {
        units += m_elements[folder].size();
    }
    return units;
}

void CListedFolders::ComposePrefix(Id folder, std::u16string& prefix) const {
    prefix.resize(PrefixLength(folder));
    auto end = prefix.end();
    for (; folder != kListedFolder; folder = m_parents[folder]) {
        end = std::copy_backward(m_elements[folder].begin(), m_elements[folder].end(), end);
    }
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
    m_hasSeparatorInName =
        m_hasSeparatorInName || name.find(kSeparator) != std::u16string_view::npos;
    m_keys.push_back(PathKeyOf(name));
    m_order.push_back(static_cast<std::uint32_t>(m_entries.size()));
    m_entries.push_back(
        {name.data(), file.nameLength, folder, file.ownerIndex, file.modifyTime, file.size});
}

// The prefixes of the folders that have files, by folder.
std::vector<std::u16string> CFileEntries::ComposeUsedPrefixes() const {
    const std::size_t maxUnits = kFreePrefixUnits + kPrefixUnitsPerUnit * m_folders.ElementUnits();
    std::vector<std::u16string> prefixes(m_folders.Count());
    std::size_t units = 0;
    for (const CFileEntry& entry : m_entries) {
        std::u16string& prefix = prefixes[entry.folder];
        if (!prefix.empty()) {
            continue;
        }
        units += m_folders.PrefixLength(entry.folder);
        if (units > maxUnits) {
            throw frame::CExc(u"The paths of the listed folders are too long.", frame::kFail);
        }
        m_folders.ComposePrefix(entry.folder, prefix);
    }
    return prefixes;
}

void CFileEntries::SortByWholePath() {
    const std::vector<std::u16string> prefixes = ComposeUsedPrefixes();
    std::sort(m_order.begin(), m_order.end(), [&](std::uint32_t a, std::uint32_t b) {
        const CFileEntry& x = m_entries[a];
        const CFileEntry& y = m_entries[b];
        return ComparePathsNoCase(prefixes[x.folder], NameOf(x), prefixes[y.folder], NameOf(y)) < 0;
    });
}

void CFileEntries::SortByName() {
    if (m_hasSeparatorInName || m_folders.HasSeparatorInName()) {
        // A name with a backslash can sort between the files of another folder.
        SortByWholePath();
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
