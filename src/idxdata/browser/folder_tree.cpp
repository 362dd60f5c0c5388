#include "idxdata/browser/folder_tree.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "idxdata/tables/seq_table_reader.h"
#include "text/ascii_case.h"

namespace idxdata {

namespace {

// Stands for "is nobody's child" while the tree is built.
constexpr CFolderTree::Node kNoParent = std::numeric_limits<CFolderTree::Node>::max();

[[noreturn]] void ThrowBadParent(std::u16string_view path, std::int64_t record,
                                 std::int64_t parent) {
    throw frame::CExc(
        u"The parent folder index %1 of folder record %2 does not name an earlier record. "
        u"Index data file: [%3].",
        {frame::Int64ToString(parent), frame::Int64ToString(record), path}, frame::kInvalidArg);
}

bool IsSeparator(char16_t c) {
    return c == u'\\' || c == u'/';
}

}  // namespace

std::shared_ptr<const CFolderTree> CFolderTree::Load(std::u16string_view path) {
    rec::CDirRecord record;
    CSeqTableReader table(path, EIdxTableDirs, record);
    if (table.RecordCount() >= static_cast<std::int64_t>(kNoParent)) {
        throw frame::CExc(u"There are too many folders. Index data file: [%1].", {path},
                          frame::kFail);
    }
    auto tree = std::make_shared<CFolderTree>();
    std::vector<Node> parents;
    while (!table.IsEnd()) {
        const std::int64_t index = table.NextIndex();
        table.ReadRecord(record);
        const std::int64_t parent = record.ParentDirIndex;
        if (index > 0 && (parent < 0 || parent >= index)) {
            ThrowBadParent(path, index, parent);
        }
        const bool isChild = index > 0 && !record.DirName.empty();
        parents.push_back(isChild ? static_cast<Node>(parent) : kNoParent);
        tree->AddNode(record.DirName);
    }
    tree->AddNode({});
    tree->LinkChildren(std::move(parents));
    return tree;
}

void CFolderTree::AddNode(std::u16string_view name) {
    m_nodes.push_back({m_names.size(), static_cast<std::uint32_t>(name.size()), 0});
    m_names += name;
}

// Gathers the children of each folder (a counting sort by parent), orders each group and
// drops all but the last of equal names.
void CFolderTree::LinkChildren(std::vector<Node> parents) {
    std::vector<Node> begins(m_nodes.size() + 1, 0);
    for (const Node parent : parents) {
        if (parent != kNoParent) {
            ++begins[parent + 1];
        }
    }
    for (std::size_t i = 1; i < begins.size(); ++i) {
        begins[i] += begins[i - 1];
    }
    std::vector<Node> grouped(begins.back());
    std::vector<Node> next = begins;
    for (Node node = 0; node < parents.size(); ++node) {
        if (parents[node] != kNoParent) {
            grouped[next[parents[node]]++] = node;
        }
    }
    m_children.reserve(grouped.size());
    for (std::size_t node = 0; node < m_nodes.size(); ++node) {
        m_nodes[node].firstChild = static_cast<Node>(m_children.size());
        const auto first = grouped.begin() + begins[node];
        const auto last = grouped.begin() + begins[node + 1];
        std::stable_sort(first, last, [&](Node a, Node b) {
            return text::CompareNoCase(NameOf(a), NameOf(b)) < 0;
        });
        for (auto it = first; it != last; ++it) {
            const bool replaced =
                it + 1 != last && text::EqualsNoCase(NameOf(*it), NameOf(*(it + 1)));
            if (!replaced) {
                m_children.push_back(*it);
            }
        }
    }
}

std::u16string_view CFolderTree::NameOf(Node node) const noexcept {
    const CFolderNode& n = m_nodes[node];
    return {m_names.data() + n.nameOffset, n.nameLength};
}

std::span<const CFolderTree::Node> CFolderTree::ChildrenOf(Node node) const noexcept {
    const Node* children = m_children.data();
    return {children + m_nodes[node].firstChild, children + m_nodes[node + 1].firstChild};
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
