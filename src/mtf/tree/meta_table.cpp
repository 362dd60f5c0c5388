#include "mtf/tree/meta_table.h"

#include <algorithm>
#include <new>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "text/ascii_case.h"

namespace mtf {

namespace {

constexpr std::uint32_t kNone = CMtfTreeNode::kNone;
constexpr std::uint32_t kLongestChain = CMtfTreeNode::kLongestChain;

std::uint32_t Short(std::uint64_t id) noexcept {
    return static_cast<std::uint32_t>(id);
}

std::uint8_t TagOf(std::uint32_t hash) noexcept {
    return static_cast<std::uint8_t>(hash >> 24);
}

CMtfText Keep(std::u16string_view text, bool borrow) {
    return borrow ? CMtfText::Borrow(text) : CMtfText::Copy(text);
}

}  // namespace

CMtfMetaTable::CMtfMetaTable() {
    m_nodes.Append();
}

bool CMtfMetaTable::IsLive(std::uint64_t id) const noexcept {
    return id < Size() && !At(id).deleted;
}

const CMtfTreeNode& CMtfMetaTable::Get(std::uint64_t id) const {
    if (id >= Size()) {
        throw frame::CExc(u"Out of the meta-table boundary. Item ID: %1. Table size: %2.",
                          {frame::UInt64ToString(id), frame::UInt64ToString(Size())}, frame::kFail);
    }
    if (At(id).deleted) {
        throw frame::CExc(u"Item with the specified ID (%1) is deleted.",
                          {frame::UInt64ToString(id)}, frame::kFail);
    }
    return At(id);
}

std::uint32_t CMtfMetaTable::FindChildAt(std::uint32_t hash, std::uint32_t parent,
                                         std::u16string_view name) const noexcept {
    return m_childIndex.Find(hash, [&](std::uint32_t child) {
        return m_nodes[child].parent == parent &&
               text::EqualsNoCase(m_nodes[child].name.View(), name);
    });
}

std::uint64_t CMtfMetaTable::FindChild(std::uint64_t id, std::u16string_view name) const noexcept {
    const std::uint32_t parent = Short(id);
    const std::uint32_t child = FindChildAt(HashNameNoCase(parent, name), parent, name);
    return child == kNone ? kNoNode : child;
}

std::uint64_t CMtfMetaTable::FindOrAddChild(std::uint64_t id, std::u16string_view name,
                                            bool borrow) {
    const std::uint32_t parent = Short(id);
    const std::uint32_t hash = HashNameNoCase(parent, name);
    const std::uint32_t found = FindChildAt(hash, parent, name);
    if (found != kNone) {
        return found;
    }
    if (m_nodes.Size() == kNone) {
        throw std::bad_alloc();
    }
    CMtfText kept = Keep(name, borrow);
    m_childIndex.ReserveMore(1);
    const std::uint32_t added = Short(m_nodes.Size());
    CMtfTreeNode& node = m_nodes.Append();
    node.name = std::move(kept);
    node.parent = parent;
    node.hash = hash;
    node.prevSibling = At(id).lastChild;
    m_childIndex.Insert(hash, added);
    CMtfTreeNode& owner = At(id);
    (owner.lastChild == kNone ? owner.firstChild : m_nodes[owner.lastChild].nextSibling) = added;
    owner.lastChild = added;
    return added;
}

void CMtfMetaTable::Delete(std::uint64_t id) noexcept {
    CMtfTreeNode& node = At(id);
    while (node.firstAttr != kNone) {
        RemoveAttr(node.firstAttr);
    }
    m_childIndex.Erase(node.hash, Short(id));
    CMtfTreeNode& owner = m_nodes[node.parent];
    (node.prevSibling == kNone ? owner.firstChild : m_nodes[node.prevSibling].nextSibling) =
        node.nextSibling;
    (node.nextSibling == kNone ? owner.lastChild : m_nodes[node.nextSibling].prevSibling) =
        node.prevSibling;
    node.name = {};
    node.deleted = true;
}

std::uint32_t CMtfMetaTable::FindAttrAt(std::uint32_t id, std::uint32_t hash,
                                        std::u16string_view name) const noexcept {
    const CMtfTreeNode& node = At(id);
    if (node.attrsIndexed) {
        return m_attrIndex.Find(hash, [&](std::uint32_t attr) {
            return m_attrs[attr].node == id && m_attrs[attr].name.View() == name;
        });
    }
    const auto tagsEnd = node.attrTags.begin() + node.attrCount;
    if (std::find(node.attrTags.begin(), tagsEnd, TagOf(hash)) == tagsEnd) {
        return kNone;
    }
    std::uint32_t attr = node.firstAttr;
    while (attr != kNone && m_attrs[attr].name.View() != name) {
        attr = m_attrs[attr].next;
    }
    return attr;
}

const CMtfAttrEntry* CMtfMetaTable::FindAttr(std::uint64_t id,
                                             std::u16string_view name) const noexcept {
    const std::uint32_t attr = FindAttrAt(Short(id), HashName(Short(id), name), name);
    return attr == kNone ? nullptr : &m_attrs[attr];
}

void CMtfMetaTable::SetAttrEntry(std::uint64_t id, std::u16string_view name,
                                 std::u16string_view value, std::uint64_t line, bool borrow) {
    const std::uint32_t hash = HashName(Short(id), name);
    CMtfText kept = Keep(value, borrow);
    std::uint32_t attr = FindAttrAt(Short(id), hash, name);
    if (attr == kNone) {
        attr = AddAttr(Short(id), hash, Keep(name, borrow));
    }
    m_attrs[attr].value = std::move(kept);
    m_attrs[attr].line = line;
}

void CMtfMetaTable::SetValue(std::uint64_t id, std::u16string_view name, CMtfText value) noexcept {
    m_attrs[FindAttrAt(Short(id), HashName(Short(id), name), name)].value = std::move(value);
}

std::uint32_t CMtfMetaTable::AddAttr(std::uint32_t id, std::uint32_t hash, CMtfText name) {
    CMtfTreeNode& node = At(id);
    if (!node.attrsIndexed && node.attrCount == kLongestChain) {
        IndexAttrs(id);
    }
    if (node.attrsIndexed) {
        m_attrIndex.ReserveMore(1);
    }
    if (m_freeAttr == kNone) {
        if (m_attrs.Size() == kNone) {
            throw std::bad_alloc();
        }
        m_attrs.Append();
        m_freeAttr = Short(m_attrs.Size() - 1);
    }
    const std::uint32_t index = m_freeAttr;
    CMtfAttrEntry& attr = m_attrs[index];
    m_freeAttr = attr.next;
    attr.name = std::move(name);
    attr.node = id;
    attr.next = node.firstAttr;
    if (attr.next != kNone) {
        m_attrs[attr.next].prev = index;
    }
    node.firstAttr = index;
    if (node.attrsIndexed) {
        m_attrIndex.Insert(hash, index);
    } else {
        node.attrTags[node.attrCount] = TagOf(hash);
    }
    ++node.attrCount;
    return index;
}

void CMtfMetaTable::IndexAttrs(std::uint32_t id) {
    CMtfTreeNode& node = At(id);
    m_attrIndex.ReserveMore(node.attrCount);
    for (std::uint32_t attr = node.firstAttr; attr != kNone; attr = m_attrs[attr].next) {
        m_attrIndex.Insert(HashName(id, m_attrs[attr].name.View()), attr);
    }
    node.attrsIndexed = true;
}

void CMtfMetaTable::EraseAttr(std::uint64_t id, std::u16string_view name) noexcept {
    const std::uint32_t attr = FindAttrAt(Short(id), HashName(Short(id), name), name);
    if (attr != kNone) {
        RemoveAttr(attr);
    }
}

void CMtfMetaTable::RemoveAttr(std::uint32_t index) noexcept {
    CMtfAttrEntry& attr = m_attrs[index];
    CMtfTreeNode& node = At(attr.node);
    const std::uint32_t hash = HashName(attr.node, attr.name.View());
    if (node.attrsIndexed) {
        m_attrIndex.Erase(hash, index);
    } else {
        *std::find(node.attrTags.begin(), node.attrTags.end(), TagOf(hash)) =
            node.attrTags[node.attrCount - 1];
    }
    (attr.prev == kNone ? node.firstAttr : m_attrs[attr.prev].next) = attr.next;
    if (attr.next != kNone) {
        m_attrs[attr.next].prev = attr.prev;
    }
    --node.attrCount;
    attr = {};
    attr.next = m_freeAttr;
    m_freeAttr = index;
}

std::vector<std::uint64_t> CMtfMetaTable::CollectAttrLines(std::uint64_t id) const {
    std::vector<std::uint64_t> lines;
    for (std::uint32_t i = At(id).firstAttr; i != kNone; i = m_attrs[i].next) {
        lines.push_back(m_attrs[i].line);
    }
    return lines;
}

std::vector<std::u16string_view> CMtfMetaTable::ListAttrNames(std::uint64_t id) const {
    std::vector<std::u16string_view> names;
    for (std::uint32_t i = At(id).firstAttr; i != kNone; i = m_attrs[i].next) {
        names.push_back(m_attrs[i].name.View());
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace mtf
