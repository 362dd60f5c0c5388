#include "mtf/tree/meta_table.h"

#include <algorithm>
#include <bit>
#include <new>
#include <utility>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "text/ascii_case.h"

namespace mtf {

namespace {

constexpr std::uint32_t kNone = CMtfTreeNode::kNone;
constexpr std::uint32_t kMaxUnindexedAttrs = CMtfTreeNode::kMaxUnindexedAttrs;

std::uint32_t Narrow(std::uint64_t id) noexcept {
    return static_cast<std::uint32_t>(id);
}

// A multiplicative hash that mixes the bits of all units.
template <class Fold>
std::uint32_t HashUnits(std::uint32_t node, std::u16string_view name, Fold fold) noexcept {
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15U;
    std::uint64_t hash = (node + 1) * kMultiplier;
    for (const char16_t unit : name) {
        hash = (std::rotl(hash, 23) ^ fold(unit)) * kMultiplier;
    }
    return static_cast<std::uint32_t>(hash >> 32);
}

std::uint32_t HashChild(std::uint32_t parent, std::u16string_view name) noexcept {
    return HashUnits(parent, name, [](char16_t unit) { return text::ToLowerAscii(unit); });
}

std::uint32_t HashAttr(std::uint32_t node, std::u16string_view name) noexcept {
    return HashUnits(node, name, [](char16_t unit) { return unit; });
}

std::uint8_t TagOf(std::uint32_t hash) noexcept {
    return static_cast<std::uint8_t>(hash >> 24);
}

CMtfText Keep(std::u16string_view text, bool borrow) {
    return borrow ? CMtfText::Borrow(text) : CMtfText::Copy(text);
}

}  // namespace

CMtfAttrKey::CMtfAttrKey(std::uint64_t nodeId, std::u16string_view attrName) noexcept
    : node(Narrow(nodeId)), hash(HashAttr(node, attrName)), name(attrName) {}

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

std::uint32_t CMtfMetaTable::FindChildByHash(std::uint32_t hash, std::uint32_t parent,
                                             std::u16string_view name) const noexcept {
    return m_childIndex.Find(hash, [&](std::uint32_t child) {
        return m_nodes[child].parent == parent &&
               text::EqualsNoCase(m_nodes[child].name.View(), name);
    });
}

std::uint64_t CMtfMetaTable::FindChild(std::uint64_t id, std::u16string_view name) const noexcept {
    const std::uint32_t parent = Narrow(id);
    const std::uint32_t child = FindChildByHash(HashChild(parent, name), parent, name);
    return child == kNone ? kNoNode : child;
}

std::uint64_t CMtfMetaTable::FindOrAddChild(std::uint64_t id, std::u16string_view name,
                                            bool borrow) {
    const std::uint32_t parent = Narrow(id);
    const std::uint32_t hash = HashChild(parent, name);
    const std::uint32_t found = FindChildByHash(hash, parent, name);
    if (found != kNone) {
        return found;
    }
    if (m_nodes.Size() == kNone) {
        throw std::bad_alloc();
    }
    CMtfText kept = Keep(name, borrow);
    m_childIndex.ReserveMore(1);
    const std::uint32_t added = Narrow(m_nodes.Size());
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
        const CMtfAttrEntry& attr = m_attrs[node.firstAttr];
        RemoveAttr(node.firstAttr, HashAttr(attr.node, attr.name.View()));
    }
    m_childIndex.Erase(node.hash, Narrow(id));
    CMtfTreeNode& owner = m_nodes[node.parent];
    (node.prevSibling == kNone ? owner.firstChild : m_nodes[node.prevSibling].nextSibling) =
        node.nextSibling;
    (node.nextSibling == kNone ? owner.lastChild : m_nodes[node.nextSibling].prevSibling) =
        node.prevSibling;
    node.name = {};
    node.deleted = true;
}

std::uint32_t CMtfMetaTable::FindAttrIndex(const CMtfAttrKey& key) const noexcept {
    const CMtfTreeNode& node = At(key.node);
    if (node.attrsIndexed) {
        return m_attrIndex.Find(key.hash, [&](std::uint32_t attr) {
            return m_attrs[attr].node == key.node && m_attrs[attr].name.View() == key.name;
        });
    }
    const auto* const tags = node.attrTags.data();
    const auto* const tagsEnd = tags + node.attrCount;
    if (std::find(tags, tagsEnd, TagOf(key.hash)) == tagsEnd) {
        return kNone;
    }
    std::uint32_t attr = node.firstAttr;
    while (attr != kNone && m_attrs[attr].name.View() != key.name) {
        attr = m_attrs[attr].next;
    }
    return attr;
}

const CMtfAttrEntry* CMtfMetaTable::FindAttr(const CMtfAttrKey& key) const noexcept {
    const std::uint32_t attr = FindAttrIndex(key);
    return attr == kNone ? nullptr : &m_attrs[attr];
}

CMtfAttrEntry* CMtfMetaTable::FindAttr(const CMtfAttrKey& key) noexcept {
    return const_cast<CMtfAttrEntry*>(std::as_const(*this).FindAttr(key));
}

void CMtfMetaTable::SetAttrEntry(const CMtfAttrKey& key, std::u16string_view value,
                                 std::uint64_t line, bool borrow) {
    CMtfText kept = Keep(value, borrow);
    CMtfAttrEntry* const found = FindAttr(key);
    CMtfAttrEntry& entry = found != nullptr ? *found : AddAttr(key, Keep(key.name, borrow));
    entry.value = std::move(kept);
    entry.line = line;
}

CMtfAttrEntry& CMtfMetaTable::AddAttr(const CMtfAttrKey& key, CMtfText name) {
    CMtfTreeNode& node = At(key.node);
    if (!node.attrsIndexed && node.attrCount == kMaxUnindexedAttrs) {
        IndexAttrs(key.node);
    }
    if (node.attrsIndexed) {
        m_attrIndex.ReserveMore(1);
    }
    if (m_freeAttr == kNone) {
        if (m_attrs.Size() == kNone) {
            throw std::bad_alloc();
        }
        m_attrs.Append();
        m_freeAttr = Narrow(m_attrs.Size() - 1);
    }
    const std::uint32_t index = m_freeAttr;
    CMtfAttrEntry& attr = m_attrs[index];
    m_freeAttr = attr.next;
    attr.name = std::move(name);
    attr.node = key.node;
    attr.next = node.firstAttr;
    if (attr.next != kNone) {
        m_attrs[attr.next].prev = index;
    }
    node.firstAttr = index;
    if (node.attrsIndexed) {
        m_attrIndex.Insert(key.hash, index);
    } else {
        node.attrTags[node.attrCount] = TagOf(key.hash);
    }
    ++node.attrCount;
    return attr;
}

void CMtfMetaTable::IndexAttrs(std::uint32_t id) {
    CMtfTreeNode& node = At(id);
    m_attrIndex.ReserveMore(node.attrCount);
    for (std::uint32_t attr = node.firstAttr; attr != kNone; attr = m_attrs[attr].next) {
        m_attrIndex.Insert(HashAttr(id, m_attrs[attr].name.View()), attr);
    }
    node.attrsIndexed = true;
}

void CMtfMetaTable::EraseAttr(const CMtfAttrKey& key) noexcept {
    const std::uint32_t attr = FindAttrIndex(key);
    if (attr != kNone) {
        RemoveAttr(attr, key.hash);
    }
}

void CMtfMetaTable::RemoveAttr(std::uint32_t index, std::uint32_t hash) noexcept {
    CMtfAttrEntry& attr = m_attrs[index];
    CMtfTreeNode& node = At(attr.node);
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

std::vector<const CMtfAttrEntry*> CMtfMetaTable::ListAttrs(std::uint64_t id) const {
    std::vector<const CMtfAttrEntry*> attrs;
    for (std::uint32_t i = At(id).firstAttr; i != kNone; i = m_attrs[i].next) {
        attrs.push_back(&m_attrs[i]);
    }
    std::sort(attrs.begin(), attrs.end(), [](const CMtfAttrEntry* a, const CMtfAttrEntry* b) {
        return a->name.View() < b->name.View();
    });
    return attrs;
}

}  // namespace mtf
