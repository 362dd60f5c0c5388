// The nodes of an attribute tree with their attributes, addressed by number.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mtf/store/stable_array.h"
#include "mtf/store/text.h"
#include "mtf/tree/hash_index.h"

namespace mtf {

// A subtree. Its children and its attributes are linked lists of table indices.
struct CMtfTreeNode {
    static constexpr std::uint32_t kNone = ~std::uint32_t{0};
    // A node with more attributes has them in the table's hash index.
    static constexpr std::uint32_t kMaxUnindexedAttrs = 8;

    CMtfText name;  // spelled as at its creation; empty for the root
    std::uint32_t parent = kNone;
    std::uint32_t hash = 0;  // of parent and folded name
    // Children in the order of their creation.
    std::uint32_t firstChild = kNone;
    std::uint32_t lastChild = kNone;
    std::uint32_t prevSibling = kNone;
    std::uint32_t nextSibling = kNone;
    std::uint32_t firstAttr = kNone;  // the list is not sorted
    std::uint32_t attrCount = 0;
    // One byte of each attribute's hash, not sorted. A search for an absent name mostly ends
    // here and does not read the attributes.
    std::array<std::uint8_t, kMaxUnindexedAttrs> attrTags{};
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
    std::uint32_t next = CMtfTreeNode::kNone;  // in the node's list or the list of free entries
};

// The name of an attribute of a node with its hash, which several calls can use.
struct CMtfAttrKey {
    CMtfAttrKey(std::uint64_t nodeId, std::u16string_view attrName) noexcept;

    std::uint32_t node;
    std::uint32_t hash;
    std::u16string_view name;
};

// Owns nodes and attributes. Children are found by name without regard to (ASCII) case,
// attributes by their exact name, both in constant time. Node IDs are never reused.
// Borrowed texts are not copied; their memory must outlive the table.
class CMtfMetaTable {
public:
    static constexpr std::uint64_t kNoNode = ~std::uint64_t{0};

    // Creates the root, node 0.
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
    // Deletes a node without children, with its attributes.
    void Delete(std::uint64_t id) noexcept;

    // False for a deleted node.
    bool HasAttrs(std::uint64_t id) const noexcept {
        return At(id).firstAttr != CMtfTreeNode::kNone;
    }
    // Null when the node has no such attribute. Valid until attributes change.
    const CMtfAttrEntry* FindAttr(const CMtfAttrKey& key) const noexcept;
    CMtfAttrEntry* FindAttr(const CMtfAttrKey& key) noexcept;
    // Inserts or overwrites.
    void SetAttrEntry(const CMtfAttrKey& key, std::u16string_view value, std::uint64_t line,
                      bool borrow);
    // Removes the attribute if the node has it.
    void EraseAttr(const CMtfAttrKey& key) noexcept;
    std::vector<std::uint64_t> CollectAttrLines(std::uint64_t id) const;
    // In the ordinal order of their names. Valid until attributes change.
    std::vector<const CMtfAttrEntry*> ListAttrs(std::uint64_t id) const;

private:
    CMtfTreeNode& At(std::uint64_t id) noexcept { return m_nodes[static_cast<std::size_t>(id)]; }
    const CMtfTreeNode& At(std::uint64_t id) const noexcept {
        return m_nodes[static_cast<std::size_t>(id)];
    }
    std::uint32_t FindChildByHash(std::uint32_t hash, std::uint32_t parent,
                                  std::u16string_view name) const noexcept;
    // kNone when the node has no such attribute.
    std::uint32_t FindAttrIndex(const CMtfAttrKey& key) const noexcept;
    CMtfAttrEntry& AddAttr(const CMtfAttrKey& key, CMtfText name);
    void IndexAttrs(std::uint32_t id);
    void RemoveAttr(std::uint32_t index, std::uint32_t hash) noexcept;

    CStableArray<CMtfTreeNode> m_nodes;
    CStableArray<CMtfAttrEntry> m_attrs;
    std::uint32_t m_freeAttr = CMtfTreeNode::kNone;  // first of the free entries
    CHashIndex m_childIndex;
    CHashIndex m_attrIndex;  // of nodes with attrsIndexed
};

}  // namespace mtf
