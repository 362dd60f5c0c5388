#include "idxdata/path_order.h"

#include <algorithm>
#include <utility>

#include "frame/conversions.h"

namespace idxdata {

namespace {

// A file or a subfolder of one folder.
struct Item {
    std::uint64_t key;     // the first four folded code units, the first one highest
    const char16_t* text;  // a subfolder's ends with its backslash
    std::uint32_t length;  // code units
    std::uint32_t index;   // of the entry or of the folder
    bool isFolder;
};

std::uint64_t KeyOf(std::u16string_view text) {
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        key = key << 16 | (i < text.size() ? frame::ToLowerAscii(text[i]) : 0U);
    }
    return key;
}

Item MakeItem(std::u16string_view text, std::size_t index, bool isFolder) {
    return {KeyOf(text), text.data(), static_cast<std::uint32_t>(text.size()),
            static_cast<std::uint32_t>(index), isFolder};
}

bool ComesBefore(const Item& a, const Item& b) {
    if (a.key != b.key) {
        return a.key < b.key;
    }
    return frame::CompareNoCase({a.text, a.length}, {b.text, b.length}) < 0;
}

// The files and subfolders of all folders: those of folder f lie at begins[f] to
// begins[f + 1], sorted.
struct Contents {
    std::vector<std::uint32_t> begins;
    std::vector<Item> items;
};

Contents GroupByFolder(const CListedFolders& folders, std::span<const CFileEntry> entries) {
    Contents contents;
    std::vector<std::uint32_t>& begins = contents.begins;
    begins.assign(folders.Count() + 1, 0);
    for (const CFileEntry& entry : entries) {
        ++begins[entry.folder + 1];
    }
    for (CListedFolders::Id f = 1; f < folders.Count(); ++f) {
        ++begins[folders.ParentOf(f) + 1];
    }
    for (std::size_t i = 1; i < begins.size(); ++i) {
        begins[i] += begins[i - 1];
    }
    contents.items.resize(begins.back());
    std::vector<std::uint32_t> next = begins;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        contents.items[next[entries[i].folder]++] =
            MakeItem(CFileEntries::NameOf(entries[i]), i, false);
    }
    for (CListedFolders::Id f = 1; f < folders.Count(); ++f) {
        contents.items[next[folders.ParentOf(f)]++] = MakeItem(folders.LastElementOf(f), f, true);
    }
    return contents;
}

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
    Contents contents = GroupByFolder(folders, entries);
    for (std::size_t f = 0; f + 1 < contents.begins.size(); ++f) {
        std::sort(contents.items.begin() + contents.begins[f],
                  contents.items.begin() + contents.begins[f + 1], ComesBefore);
    }
    std::vector<std::uint32_t> order;
    order.reserve(entries.size());
    // Items still to visit, from each folder on the way down.
    std::vector<std::pair<std::uint32_t, std::uint32_t>> path = {
        {contents.begins[0], contents.begins[1]}};
    while (!path.empty()) {
        auto& [at, end] = path.back();
        if (at == end) {
            path.pop_back();
            continue;
        }
        const Item& item = contents.items[at++];
        if (item.isFolder) {
            path.emplace_back(contents.begins[item.index], contents.begins[item.index + 1]);
        } else {
            order.push_back(item.index);
        }
    }
    return order;
}

}  // namespace idxdata
