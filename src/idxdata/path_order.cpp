#include "idxdata/path_order.h"

#include <algorithm>
#include <utility>

#include "frame/conversions.h"

namespace idxdata {

namespace {

constexpr std::size_t kKeyUnits = 8;

// A file or a subfolder of one folder.
struct Item {
    std::uint64_t keys[2];  // the first kKeyUnits folded code units, the first one highest
    const char16_t* text;   // a subfolder's ends with its backslash
    std::uint32_t length;   // code units
    std::uint32_t index;    // of the entry or of the folder
    bool isFolder;
};

std::uint64_t KeyOf(std::u16string_view text, std::size_t begin) {
    std::uint64_t key = 0;
    for (std::size_t i = begin; i < begin + kKeyUnits / 2; ++i) {
        key = key << 16 | (i < text.size() ? frame::ToLowerAscii(text[i]) : 0U);
    }
    return key;
}

Item MakeItem(std::u16string_view text, std::uint32_t index, bool isFolder) {
    return {{KeyOf(text, 0), KeyOf(text, kKeyUnits / 2)},
            text.data(),
            static_cast<std::uint32_t>(text.size()),
            index,
            isFolder};
}

bool ComesBefore(const Item& a, const Item& b) {
    if (a.keys[0] != b.keys[0]) {
        return a.keys[0] < b.keys[0];
    }
    if (a.keys[1] != b.keys[1]) {
        return a.keys[1] < b.keys[1];
    }
    // Equal keys: a text that ends inside them has a unit of 0 there or equals the other.
    const std::size_t skip = std::min<std::size_t>({kKeyUnits, a.length, b.length});
    return frame::CompareNoCase({a.text + skip, a.length - skip},
                                {b.text + skip, b.length - skip}) < 0;
}

// Numbers gathered by group: those of group g lie at begins[g] to begins[g + 1].
class CGroups {
public:
    // `groupOf(i)` gives the group of each i below `count`.
    template <class GroupOf>
    CGroups(std::size_t groups, std::size_t count, GroupOf&& groupOf)
        : m_begins(groups + 1, 0), m_members(count) {
        for (std::size_t i = 0; i < count; ++i) {
            ++m_begins[groupOf(i)];
        }
        std::uint32_t end = 0;
        for (std::uint32_t& begin : m_begins) {
            end += begin;
            begin = end;
        }
        for (std::size_t i = count; i-- > 0;) {
            m_members[--m_begins[groupOf(i)]] = static_cast<std::uint32_t>(i);
        }
    }
    std::span<const std::uint32_t> operator[](std::size_t group) const {
        return {m_members.data() + m_begins[group], m_members.data() + m_begins[group + 1]};
    }

private:
    std::vector<std::uint32_t> m_begins;
    std::vector<std::uint32_t> m_members;
};

// Visits folders depth first and puts down their files in order.
class COrderMaker {
public:
    COrderMaker(const CListedFolders& folders, std::span<const CFileEntry> entries)
        : m_folders(folders),
          m_entries(entries),
          m_files(folders.Count(), entries.size(),
                  [&](std::size_t i) { return entries[i].folder; }),
          m_subfolders(folders.Count(), folders.Count() - 1, [&](std::size_t i) {
              return folders.ParentOf(static_cast<CListedFolders::Id>(i + 1));
          }) {}

    std::vector<std::uint32_t> Make() {
        m_order.reserve(m_entries.size());
        Enter(CListedFolders::kListedFolder);
        while (!m_path.empty()) {
            if (m_path.back() == m_items.size()) {
                m_path.pop_back();
                continue;
            }
            const Item item = m_items.back();
            m_items.pop_back();
            if (item.isFolder) {
                Enter(item.index);
            } else {
                m_order.push_back(item.index);
            }
        }
        return std::move(m_order);
    }

private:
    // Stacks the folder's items, the first one on top.
    void Enter(CListedFolders::Id folder) {
        m_path.push_back(m_items.size());
        for (const std::uint32_t file : m_files[folder]) {
            m_items.push_back(MakeItem(CFileEntries::NameOf(m_entries[file]), file, false));
        }
        for (const std::uint32_t number : m_subfolders[folder]) {
            m_items.push_back(MakeItem(m_folders.LastElementOf(number + 1), number + 1, true));
        }
        std::sort(m_items.begin() + static_cast<std::ptrdiff_t>(m_path.back()), m_items.end(),
                  [](const Item& a, const Item& b) { return ComesBefore(b, a); });
    }

    const CListedFolders& m_folders;
    std::span<const CFileEntry> m_entries;
    CGroups m_files;
    CGroups m_subfolders;             // folder numbers less one: the listed folder is nobody's
    std::vector<Item> m_items;        // still to visit, of all folders on the way down
    std::vector<std::size_t> m_path;  // where each of these folders' items begin
    std::vector<std::uint32_t> m_order;
};

}  // namespace

int ComparePathsNoCase(std::u16string_view prefixA, std::u16string_view nameA,
                       std::u16string_view prefixB, std::u16string_view nameB) noexcept {
    const std::size_t lengthA = prefixA.size() + nameA.size();
    const std::size_t lengthB = prefixB.size() + nameB.size();
    const auto unitAt = [](std::u16string_view prefix, std::u16string_view name, std::size_t i) {
        return frame::ToLowerAscii(i < prefix.size() ? prefix[i] : name[i - prefix.size()]);
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

std::vector<std::uint32_t> OrderByFolders(const CListedFolders& folders,
                                          std::span<const CFileEntry> entries) {
    return COrderMaker(folders, entries).Make();
}

}  // namespace idxdata
