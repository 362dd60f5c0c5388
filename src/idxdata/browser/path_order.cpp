#include "idxdata/browser/path_order.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "idxdata/browser/file_entries.h"
#include "idxdata/browser/groups.h"
#include "text/ascii_case.h"

namespace idxdata {

namespace {

// A file or a subfolder of one folder.
struct Item {
    PathKey key;
    std::uint32_t index;  // of the entry or of the folder
    bool isFolder;
};

std::uint64_t JoinUnits(const char16_t* units) {
    return std::uint64_t{units[0]} << 48 | std::uint64_t{units[1]} << 32 |
           std::uint64_t{units[2]} << 16 | std::uint64_t{units[3]};
}

// Visits folders depth first and lists their files in order.
class CListingSorter {
public:
    CListingSorter(const CListedFolders& folders, std::span<const CFileEntry> entries,
                   std::span<const PathKey> keys)
        : m_folders(folders),
          m_entries(entries),
          m_keys(keys),
          m_files(folders.Count(), entries.size(),
                  [&](std::size_t i) { return entries[i].folder; }),
          m_subfolders(folders.Count(), folders.Count() - 1, [&](std::size_t i) {
              return folders.ParentOf(static_cast<CListedFolders::Id>(i + 1));
          }) {}

    std::vector<std::uint32_t> Sort() {
        m_order.reserve(m_entries.size());
        OpenFolder(CListedFolders::kListedFolder);
        while (!m_path.empty()) {
            if (m_path.back() == m_items.size()) {
                m_path.pop_back();
                continue;
            }
            const Item item = m_items.back();
            m_items.pop_back();
            if (item.isFolder) {
                OpenFolder(item.index);
            } else {
                m_order.push_back(item.index);
            }
        }
        return std::move(m_order);
    }

private:
    // Pushes the folder's items, the first one last.
    void OpenFolder(CListedFolders::Id folder) {
        m_path.push_back(m_items.size());
        for (const std::uint32_t file : m_files[folder]) {
            m_items.push_back({m_keys[file], file, false});
        }
        for (const std::uint32_t number : m_subfolders[folder]) {
            m_items.push_back({PathKeyOf(m_folders.LastElementOf(number + 1)), number + 1, true});
        }
        std::sort(m_items.begin() + static_cast<std::ptrdiff_t>(m_path.back()), m_items.end(),
                  [this](const Item& a, const Item& b) { return ComesBefore(b, a); });
    }

    bool ComesBefore(const Item& a, const Item& b) const {
        if (a.key != b.key) {
            return a.key < b.key;
        }
        return text::CompareNoCase(TextOf(a), TextOf(b)) < 0;
    }

    // Of a subfolder, its name and a backslash.
    std::u16string_view TextOf(const Item& item) const {
        return item.isFolder ? m_folders.LastElementOf(item.index)
                             : CFileEntries::NameOf(m_entries[item.index]);
    }

    const CListedFolders& m_folders;
    std::span<const CFileEntry> m_entries;
    std::span<const PathKey> m_keys;
    CGroups m_files;
    CGroups m_subfolders;             // folder numbers less one: the listed folder has no parent
    std::vector<Item> m_items;        // not yet visited, of all folders in m_path
    std::vector<std::size_t> m_path;  // for each open folder, where its items begin
    std::vector<std::uint32_t> m_order;
};

}  // namespace

int ComparePathsNoCase(std::u16string_view prefixA, std::u16string_view nameA,
                       std::u16string_view prefixB, std::u16string_view nameB) noexcept {
    const std::size_t lengthA = prefixA.size() + nameA.size();
    const std::size_t lengthB = prefixB.size() + nameB.size();
    const auto unitAt = [](std::u16string_view prefix, std::u16string_view name, std::size_t i) {
        return text::ToLowerAscii(i < prefix.size() ? prefix[i] : name[i - prefix.size()]);
    };
    for (std::size_t i = 0; i < std::min(lengthA, lengthB); ++i) {
        const char16_t a = unitAt(prefixA, nameA, i);
        const char16_t b = unitAt(prefixB, nameB, i);
        if (a != b) {
            return a < b ? -1 : 1;
        }
    }
    return lengthA == lengthB ? 0 : lengthA < lengthB ? -1 : 1;
}

PathKey PathKeyOf(std::u16string_view text) noexcept {
    constexpr std::size_t kUnits = 8;
    char16_t units[kUnits] = {};
    if (text.size() >= kUnits) {
        std::memcpy(units, text.data(), sizeof units);
    } else {
        std::copy(text.begin(), text.end(), units);
    }
    for (char16_t& unit : units) {
        unit = text::ToLowerAscii(unit);
    }
    return {JoinUnits(units), JoinUnits(units + kUnits / 2)};
}

std::vector<std::uint32_t> OrderByFolders(const CListedFolders& folders,
                                          std::span<const CFileEntry> entries,
                                          std::span<const PathKey> keys) {
    return CListingSorter(folders, entries, keys).Sort();
}

}  // namespace idxdata
