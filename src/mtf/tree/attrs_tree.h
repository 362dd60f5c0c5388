// The attribute tree over the lines of a meta-file.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mtf/store/lines.h"
#include "mtf/tree/meta_table.h"

namespace mtf {

// An attribute and its path. The value is valid until the tree changes.
struct CMtfListedAttr {
    std::u16string path;
    std::u16string_view value;
};

// The subtrees and attributes of one meta-file. Every change goes to the tree and to the
// lines; a subtree is stored in the file only as the names of its attributes. Shared by the
// references to its nodes; no locks.
//
// All operations take the ID of the node to start from (0 is the root) and a path relative
// to it, and put their own message in front of every failure. Returned views stay valid
// until the tree changes.
class CMtfAttrsTreeData {
public:
    static constexpr std::uint64_t kRoot = 0;
    static constexpr std::uint64_t kNoNode = CMtfMetaTable::kNoNode;

    // Reads all lines. Throws CExc for an attribute line whose name has no element.
    static std::shared_ptr<CMtfAttrsTreeData> Build(const std::shared_ptr<CMtfLines>& lines,
                                                    std::u16string_view name);

    // kNoNode when there is none. A path without elements is the node itself.
    std::uint64_t FindSubtree(std::uint64_t node, std::u16string_view path) const;
    std::uint64_t CreateSubtree(std::uint64_t node, std::u16string_view path);
    // Throws CExc when there is none.
    std::uint64_t GetExistingSubtree(std::uint64_t node, std::u16string_view path) const;
    // Does nothing for a missing subtree and for the root.
    void DelSubtree(std::uint64_t node, std::u16string_view path);
    // In the order of creation.
    std::vector<std::u16string> EnumChildTrees(std::uint64_t node) const;
    // In ordinal order.
    std::vector<std::u16string> EnumChildAttrs(std::uint64_t node) const;
    void SetAttr(std::uint64_t node, std::u16string_view path, std::u16string_view value);
    bool FindAttr(std::uint64_t node, std::u16string_view path, std::u16string_view& value) const;
    // Throws CExc when there is none.
    std::u16string_view GetExistingAttr(std::uint64_t node, std::u16string_view path) const;
    void DelAttr(std::uint64_t node, std::u16string_view path);
    // The full paths of all attributes, node by node in the order of creation.
    std::vector<std::u16string> EnumAllAttrs() const;
    // The same attributes with their values.
    std::vector<CMtfListedAttr> ListAllAttrs() const;

    // The names on the way from the root to the node, joined by dots; of a path of more than
    // 100 names the last 100. Kept for compatibility. Throws CExc for a deleted node.
    std::u16string NodePath(std::uint64_t node) const;
    // The node's path for messages; the ID of a deleted node.
    std::u16string DisplayPath(std::uint64_t node) const;

    const std::u16string& GetName() const noexcept { return m_name; }
    const CMtfMetaTable& GetTable() const noexcept { return m_table; }

private:
    CMtfAttrsTreeData(std::shared_ptr<CMtfLines> lines, std::u16string_view name);

    std::uint64_t FindNode(std::uint64_t node, std::u16string_view path) const;
    std::uint64_t FindOrAddSubtree(std::uint64_t node, std::u16string_view path, bool borrow);
    void AddAttr(const CMtfAttrKey& key, std::u16string_view fullName, std::u16string_view value);
    void DeleteWithChildren(std::uint64_t node);

    std::shared_ptr<CMtfLines> m_lines;
    std::u16string m_name;  // the meta-file's path
    CMtfMetaTable m_table;
};

// A reference to a node, which keeps the tree alive: the same operations with paths relative
// to the node.
class CMtfTreeRef {
public:
    CMtfTreeRef(std::shared_ptr<CMtfAttrsTreeData> tree, std::uint64_t node)
        : m_tree(std::move(tree)), m_node(node) {}

    std::optional<CMtfTreeRef> FindSubtree(std::u16string_view path) const;
    CMtfTreeRef CreateSubtree(std::u16string_view path) const;
    CMtfTreeRef GetExistingSubtree(std::u16string_view path) const;
    void DelSubtree(std::u16string_view path) const;
    std::vector<std::u16string> EnumChildTrees() const;
    std::vector<std::u16string> EnumChildAttrs() const;
    void SetAttr(std::u16string_view path, std::u16string_view value) const;
    bool FindAttr(std::u16string_view path, std::u16string_view& value) const;
    std::u16string_view GetExistingAttr(std::u16string_view path) const;
    // As GetExistingAttr, with a different message.
    std::u16string_view GetExistingAttrHere(std::u16string_view path) const;
    void DelAttr(std::u16string_view path) const;

private:
    std::shared_ptr<CMtfAttrsTreeData> m_tree;
    std::uint64_t m_node;
};

}  // namespace mtf
