#include "tdf/binary_search/root_folder_set.h"

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
bool Matches(const Folder& folder, const text::CFoldedText& element,
             std::int64_t matched) noexcept {
    return folder.nameLength == 0 ||
           (folder.parent == matched && element.Equals(folder.name, folder.nameLength));
}

}  // namespace

// For a path of backslashes only, every volume is searched and no folder is in the set. Kept
// for compatibility.
CRootFolderSet::CRootFolderSet(const std::vector<Folder>& folders, std::u16string_view rootPath)
    : m_members(folders.size()) {
    const std::vector<text::CFoldedText> elements = SplitAtBackslashes(rootPath);
    m_found = elements.empty();
    if (m_found) {
        return;
    }
    std::size_t current = 0;
    std::int64_t matched = kNoFolder;
    for (std::size_t i = 0; i < folders.size(); ++i) {
        const Folder& folder = folders[i];
        if (current < elements.size() && Matches(folder, elements[current], matched)) {
            matched = static_cast<std::int64_t>(i);
            ++current;
        }
        if (current == elements.size() && (folder.parent == matched || Contains(folder.parent))) {
            m_members[i] = true;
        }
    }
    m_found = current == elements.size();
    if (m_found) {
        m_members[static_cast<std::size_t>(matched)] = true;
    }
}

}  // namespace tdf
