// The folders of a volume as a tree that can be walked by path.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "idxdata/tables/folder_table.h"

namespace idxdata {

// One folder of the tree. Its children are consecutive in the tree's child list.
struct CFolderNode {
    std::uint32_t firstChild = 0;
    std::uint32_t childCount = 0;
};

// The folder tree of one volume, read once from its Dirs table and never changed; shared
// by the browser and the listings in progress. A node's number is its record's position.
// Children are ordered by their ASCII-lowered names. Of two children with the same lowered
// name only the later one can be reached; a record without a name is no child.
class CFolderTree {
public:
    using Node = std::uint32_t;
    static constexpr Node kRoot = 0;

    // Reads the Dirs table from its first record. Throws what CFolderTable throws for
    // EParentRule::EarlierRecord, and CExc (E_FAIL) for more folders than nodes have numbers.
    explicit CFolderTree(CSeqTableReader& table);

    bool HasRoot() const noexcept { return !m_nodes.empty(); }
    std::size_t NodeCount() const noexcept { return m_nodes.size(); }
    std::u16string_view NameOf(Node node) const noexcept { return m_folders.NameOf(node); }
    std::span<const Node> ChildrenOf(Node node) const noexcept {
        return std::span(m_children).subspan(m_nodes[node].firstChild, m_nodes[node].childCount);
    }

    // The folder that a path names. Elements are cut at / and \. The first element names the
    // volume and is ignored. ASCII letter case is ignored. Empty when the path does not
    // exist. The tree must have a root.
    std::optional<Node> Resolve(std::u16string_view path) const;

private:
    void LinkChildren();
    void AppendChildren(std::span<Node> children);
    std::optional<Node> FindChild(Node parent, std::u16string_view name) const noexcept;

    CFolderTable m_folders;
    std::vector<CFolderNode> m_nodes;
    std::vector<Node> m_children;
};

}  // namespace idxdata
