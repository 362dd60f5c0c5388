// The nodes of an attribute tree with their attributes, addressed by number.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mtf/store/stable_array.h"
#include "mtf/store/text.h"
#include "mtf/tree/name_index.h"

namespace mtf {

// A subtree. Children and attributes hang on it as chains through the table.
struct CMtfTreeNode {
    static constexpr std::uint32_t kNone = ~std::uint32_t{0};
    // Attributes that are searched one by one; beyond, the table's index takes over.
    static constexpr std::uint32_t kLongestChain = 8;

    CMtfText name;  // as first spelled; empty for the root
    std::uint32_t parent = kNone;
    std::uint32_t hash = 0;  // of parent and folded name
    // Children in the order of their creation.
    std::uint32_t firstChild = kNone;
    std::uint32_t lastChild = kNone;
    std::uint32_t prevSibling = kNone;
    std::uint32_t nextSibling = kNone;
    std::uint32_t firstAttr = kNone;  // of a chain in no order
    std::uint32_t attrCount = 0;
    // A byte of each attribute's hash, in no order: tells most absent names without a look
    // at the attributes, which may lie far from each other.
    std::array<std::uint8_t, kLongestChain> attrTags{};
    bool attrsIndexed = false;
    bool deleted = false;
};

// An attribute: its value, and the line that holds it.
struct CMtfAttrEntry {
    CMtfText name;
    CMtfText value;
    std::uint64_t line = 0;
    std::uint32_t node = 0;
    std::uint32_t prev = CMtfTreeNode::kNone;
    std::uint32_t next = CMtfTreeNode::kNone;  // of the node, or of the free entries
};

// Owns nodes and attributes. Children are found by name without regard to (ASCII) case,
// attributes by their exact name, both in constant time. Node IDs are never used again.
// Borrowed texts are not copied: the owner of the table keeps what they point into.
class CMtfMetaTable {
public:
    static constexpr std::uint64_t kNoNode = ~std::uint64_t{0};

    // The root, node 0, is there from the start.
    CMtfMetaTable();

    std::uint64_t Size() const noexcept { return m_nodes.Size(); }
    bool IsLive(std::uint64_t id) const noexcept;
    // Throws CExc (E_FAIL) for an ID beyond the table or of a deleted node.
    const CMtfTreeNode& Get(std::uint64_t id) const;

    // The node operations below require a live node.

    // kNoNode when the node has no such child.
    std::uint64_t FindChild(std::uint64_t id, std::u16string_view name) const noexcept;
    // Finds the child or adds it.
    std::uint64_t FindOrAddChild(std::uint64_t id, std::u16string_view name, bool borrow);
    // Takes a node without children out of its parent, its attributes with it.
    void Delete(std::uint64_t id) noexcept;

    // False for a deleted node, too.
    bool HasAttrs(std::uint64_t id) const noexcept {
        return At(id).firstAttr != CMtfTreeNode::kNone;
    }
    // Null when the node has no such attribute. Valid until attributes change.
    const CMtfAttrEntry* FindAttr(std::uint64_t id, std::u16string_view name) const noexcept;
    // Inserts or overwrites.
    void SetAttrEntry(std::uint64_t id, std::u16string_view name, std::u16string_view value,
                      std::uint64_t line, bool borrow);
    // Requires that the attribute is there.
    void SetValue(std::uint64_t id, std::u16string_view name, CMtfText value) noexcept;
    // Removes the attribute if it is there.
    void EraseAttr(std::uint64_t id, std::u16string_view name) noexcept;
    std::vector<std::uint64_t> CollectAttrLines(std::uint64_t id) const;
    // In ordinal order.
    std::vector<std::u16string_view> ListAttrNames(std::uint64_t id) const;

private:
    CMtfTreeNode& At(std::uint64_t id) noexcept { return m_nodes[static_cast<std::size_t>(id)]; }
    const CMtfTreeNode& At(std::uint64_t id) const noexcept {
        return m_nodes[static_cast<std::size_t>(id)];
    }
    std::uint32_t FindChildAt(std::uint32_t hash, std::uint32_t parent,
                              std::u16string_view name) const noexcept;
    // `hash` is that of node and name.
    std::uint32_t FindAttrAt(std::uint32_t id, std::uint32_t hash,
                             std::u16string_view name) const noexcept;
    std::uint32_t AddAttr(std::uint32_t id, std::uint32_t hash, CMtfText name);
    void IndexAttrs(std::uint32_t id);
    void RemoveAttr(std::uint32_t index) noexcept;

    CStableArray<CMtfTreeNode> m_nodes;
    CStableArray<CMtfAttrEntry> m_attrs;
    std::uint32_t m_freeAttr = CMtfTreeNode::kNone;  // first of the entries to be used again
    CMtfNameIndex m_childIndex;
    CMtfNameIndex m_attrIndex;  // of the nodes with attrsIndexed
};

}  // namespace mtf
