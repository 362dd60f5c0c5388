#include "tdf/binary_search/root_folder_set.h"

#include <algorithm>
#include <span>

#include "text/folded_text.h"

namespace tdf {

namespace {

constexpr std::int64_t kNoFolder = -1;

std::vector<text::CFoldedText> SplitAtBackslashes(std::u16string_view path) {
    std::vector<text::CFoldedText> elements;
    while (!path.empty()) {
        const std::u16string_view element = path.substr(0, path.find(u'\\'));
        path.remove_prefix(std::min(element.size() + 1, path.size()));
        if (!element.empty()) {
            elements.emplace_back(element);
        }
    }
    return elements;
}

// A folder without a name, such as the volume's root, matches any element.
bool Matches(const idxdata::CFolderTable& folders, std::size_t folder,
             const text::CFoldedText& element, std::int64_t matched) noexcept {
    const std::u16string_view name = folders.NameOf(folder);
    return name.empty() || (folders.ParentOf(folder) == matched &&
                            element.Equals(std::as_bytes(std::span(name)).data(), name.size()));
}

}  // namespace

// For a path of backslashes only, every volume is searched and no folder is in the set. Kept
// for compatibility.
CRootFolderSet::CRootFolderSet(const idxdata::CFolderTable& folders, std::u16string_view rootPath)
    : m_members(folders.Count()) {
    const std::vector<text::CFoldedText> elements = SplitAtBackslashes(rootPath);
    m_found = elements.empty();
    if (m_found) {
        return;
    }
    std::size_t current = 0;
    std::int64_t matched = kNoFolder;
    for (std::size_t i = 0; i < folders.Count(); ++i) {
        const std::int64_t parent = folders.ParentOf(i);
        if (current < elements.size() && Matches(folders, i, elements[current], matched)) {
            matched = static_cast<std::int64_t>(i);
            ++current;
        }
        if (current == elements.size() && (parent == matched || Contains(parent))) {
            m_members[i] = true;
        }
    }
    m_found = current == elements.size();
    if (m_found) {
        m_members[static_cast<std::size_t>(matched)] = true;
    }
}

}  // namespace tdf
