// The folders of a volume as a tree that can be walked by path.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace idxdata {

// One folder: its name lies in the tree's text, its children behind one another in the
// tree's child list.
struct CFolderNode {
    std::uint64_t nameOffset;  // code units
    std::uint32_t nameLength;
    std::uint32_t firstChild;
};

// The folder tree of one volume, read once from its Dirs table and never changed; shared
// by the browser and the listings in progress. A node's number is its record's position.
// Children are ordered by their ASCII-lowered names; of two children with the same lowered
// name only the later one is reachable, and a record without a name is nobody's child.
class CFolderTree {
public:
    using Node = std::uint32_t;
    static constexpr Node kRoot = 0;

    // Throws what reading the table throws, and CExc (E_INVALIDARG), naming file and
    // record, for a parent that is not an earlier record.
    static std::shared_ptr<const CFolderTree> Load(std::u16string_view path);

    bool HasRoot() const noexcept { return m_nodes.size() > 1; }
    std::size_t NodeCount() const noexcept { return m_nodes.size() - 1; }
    std::u16string_view NameOf(Node node) const noexcept;
    std::span<const Node> ChildrenOf(Node node) const noexcept;

    // The folder that a path names: elements are cut at / and \, the first one is ignored
    // whatever it holds (it names the volume), ASCII letter case does not count. Empty
    // when the path does not exist. The tree must have a root.
    std::optional<Node> Resolve(std::u16string_view path) const;

private:
    void AddNode(std::u16string_view name);
    void LinkChildren(std::vector<Node> parents);
    std::optional<Node> FindChild(Node parent, std::u16string_view name) const noexcept;

    std::u16string m_names;
    std::vector<CFolderNode> m_nodes;  // and one more, whose firstChild ends the last list
    std::vector<Node> m_children;
};

}  // namespace idxdata
