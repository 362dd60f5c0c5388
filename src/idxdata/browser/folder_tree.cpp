#include "idxdata/browser/folder_tree.h"

#include <algorithm>
#include <limits>

#include "frame/errors.h"
#include "idxdata/browser/groups.h"
#include "text/ascii_case.h"

namespace idxdata {

namespace {

// Node numbers have 32 bits.
CSeqTableReader& CheckFolderCount(CSeqTableReader& table) {
    if (table.RecordCount() >= std::numeric_limits<CFolderTree::Node>::max()) {
        throw frame::CExc(u"There are too many folders. Index data file: [%1].",
                          {table.Reader().GetPath()}, frame::kFail);
    }
    return table;
}

bool IsSeparator(char16_t c) {
    return c == u'\\' || c == u'/';
}

}  // namespace

CFolderTree::CFolderTree(CSeqTableReader& table)
    : m_folders(CheckFolderCount(table), EParentRule::EarlierRecord), m_nodes(m_folders.Count()) {
    LinkChildren();
}

void CFolderTree::LinkChildren() {
    const std::size_t count = m_nodes.size();
    const std::size_t noParent = count;
    CGroups childrenOf(count + 1, count, [&](std::size_t node) {
        const bool isChild = node != kRoot && !m_folders.NameOf(node).empty();
        return isChild ? static_cast<std::size_t>(m_folders.ParentOf(node)) : noParent;
    });
    m_children.reserve(count);
    for (std::size_t node = 0; node < count; ++node) {
        m_nodes[node].firstChild = static_cast<Node>(m_children.size());
        AppendChildren(childrenOf[node]);
        m_nodes[node].childCount = static_cast<Node>(m_children.size()) - m_nodes[node].firstChild;
    }
}

// Orders the children of one folder and drops all but the last of equal names.
void CFolderTree::AppendChildren(std::span<Node> children) {
    std::stable_sort(children.begin(), children.end(),
                     [&](Node a, Node b) { return text::CompareNoCase(NameOf(a), NameOf(b)) < 0; });
    for (std::size_t i = 0; i < children.size(); ++i) {
        const bool replaced = i + 1 < children.size() &&
                              text::EqualsNoCase(NameOf(children[i]), NameOf(children[i + 1]));
        if (!replaced) {
            m_children.push_back(children[i]);
        }
    }
}

std::optional<CFolderTree::Node> CFolderTree::FindChild(Node parent,
                                                        std::u16string_view name) const noexcept {
    const auto children = ChildrenOf(parent);
    const auto found = std::lower_bound(
        children.begin(), children.end(), name,
        [&](Node a, std::u16string_view b) { return text::CompareNoCase(NameOf(a), b) < 0; });
    if (found == children.end() || !text::EqualsNoCase(NameOf(*found), name)) {
        return std::nullopt;
    }
    return *found;
}

std::optional<CFolderTree::Node> CFolderTree::Resolve(std::u16string_view path) const {
    auto separator = std::find_if(path.begin(), path.end(), IsSeparator);
    Node node = kRoot;
    while (separator != path.end() && separator + 1 != path.end()) {
        const auto begin = separator + 1;
        separator = std::find_if(begin, path.end(), IsSeparator);
        const auto child = FindChild(node, std::u16string_view(begin, separator));
        if (!child) {
            return std::nullopt;
        }
        node = *child;
    }
    return node;
}

}  // namespace idxdata
