#include "mtf/tree/attrs_tree.h"

#include <array>
#include <new>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "mtf/store/path_elements.h"

namespace mtf {

namespace {

using frame::CExc;
using frame::kFail;

constexpr std::size_t kMaxPathNames = 100;

// Runs `body`; a CExc that leaves it gets `text` in front, with %1 the given path, %2 the
// starting node's path and %3 the meta-file. The message is composed only on failure.
template <class Body>
decltype(auto) InContext(std::u16string_view text, const CMtfAttrsTreeData& tree,
                         std::uint64_t node, std::u16string_view path, Body&& body) {
    try {
        return body();
    } catch (CExc& exc) {
        exc.AddMessage(text, {path, tree.DisplayPath(node), tree.GetName()});
        throw;
    }
}

std::u16string JoinNames(std::u16string path, std::u16string_view name) {
    if (!path.empty()) {
        path.push_back(u'.');
    }
    return path.append(name);
}

}  // namespace

CMtfAttrsTreeData::CMtfAttrsTreeData(std::shared_ptr<CMtfLines> lines, std::u16string_view name)
    : m_lines(std::move(lines)), m_name(name) {}

std::shared_ptr<CMtfAttrsTreeData> CMtfAttrsTreeData::Build(const std::shared_ptr<CMtfLines>& lines,
                                                            std::u16string_view name) {
    std::shared_ptr<CMtfAttrsTreeData> tree(new CMtfAttrsTreeData(lines, name));
    // Consecutive lines mostly belong to the same subtree.
    std::u16string_view lastSubtree;
    std::uint64_t lastNode = kRoot;
    CMtfAttrLine attr;
    for (attr.line = 0; attr.line < lines->Count(); ++attr.line) {
        if (!lines->ParseAttrLine(attr.line, attr.name, attr.value)) {
            continue;
        }
        const CMtfAttrPath path = SplitAttrPath(attr.name);
        const bool borrow = lines->IsLoadedText(attr.line);
        if (path.subtree != lastSubtree) {
            lastNode = tree->FindOrAddSubtree(kRoot, path.subtree, borrow);
            lastSubtree = path.subtree;
        }
        tree->m_table.SetAttrEntry({lastNode, path.name}, attr.value, attr.line, borrow);
    }
    return tree;
}

std::uint64_t CMtfAttrsTreeData::FindNode(std::uint64_t node, std::u16string_view path) const {
    m_table.Get(node);
    std::u16string_view element;
    while (node != kNoNode && NextPathElement(path, element)) {
        node = m_table.FindChild(node, element);
    }
    return node;
}

std::uint64_t CMtfAttrsTreeData::FindOrAddSubtree(std::uint64_t node, std::u16string_view path,
                                                  bool borrow) {
    m_table.Get(node);
    std::u16string_view element;
    while (NextPathElement(path, element)) {
        node = m_table.FindOrAddChild(node, element, borrow);
    }
    return node;
}

std::uint64_t CMtfAttrsTreeData::FindSubtree(std::uint64_t node, std::u16string_view path) const {
    return InContext(u"Failed to find subtree  \"%1\" of the tree \"%2\". Meta-file: \"%3\".",
                     *this, node, path, [&] { return FindNode(node, path); });
}

std::uint64_t CMtfAttrsTreeData::CreateSubtree(std::uint64_t node, std::u16string_view path) {
    return InContext(u"Failed to create subtree  \"%1\" of the tree \"%2\". Meta-file: \"%3\".",
                     *this, node, path, [&] { return FindOrAddSubtree(node, path, false); });
}

std::uint64_t CMtfAttrsTreeData::GetExistingSubtree(std::uint64_t node,
                                                    std::u16string_view path) const {
    const std::uint64_t found = FindSubtree(node, path);
    if (found == kNoNode) {
        // The text names the subtree "2". Kept for compatibility.
        throw CExc(u"The meta-file \"%1\" does not contain subtree \"2\".", {m_name}, kFail);
    }
    return found;
}

void CMtfAttrsTreeData::DelSubtree(std::uint64_t node, std::u16string_view path) {
    InContext(u"Failed to delete subtree  \"%1\" of the tree \"%2\". Meta-file: \"%3\".", *this,
              node, path, [&] {
                  const std::uint64_t found = FindNode(node, path);
                  if (found != kNoNode && found != kRoot) {
                      DeleteWithChildren(found);
                  }
              });
}

void CMtfAttrsTreeData::DeleteWithChildren(std::uint64_t node) {
    // Deletes the leaves first. The parent IDs lead back, so that a deep tree needs no stack.
    for (std::uint64_t next = node;;) {
        const CMtfTreeNode& current = m_table.Get(next);
        if (current.firstChild != CMtfTreeNode::kNone) {
            next = current.firstChild;
            continue;
        }
        const std::uint64_t parent = current.parent;
        m_lines->MarkDeletedAll(m_table.CollectAttrLines(next));
        m_table.Delete(next);
        if (next == node) {
            return;
        }
        next = parent;
    }
}

std::vector<std::u16string> CMtfAttrsTreeData::EnumChildTrees(std::uint64_t node) const {
    return InContext(u"Failed to enumerate children of the tree \"%2\". Meta-file: %3.", *this,
                     node, {}, [&] {
                         std::vector<std::u16string> names;
                         std::uint32_t child = m_table.Get(node).firstChild;
                         while (child != CMtfTreeNode::kNone) {
                             const CMtfTreeNode& current = m_table.Get(child);
                             names.emplace_back(current.name.View());
                             child = current.nextSibling;
                         }
                         return names;
                     });
}

std::vector<std::u16string> CMtfAttrsTreeData::EnumChildAttrs(std::uint64_t node) const {
    return InContext(u"Failed to enumerate attributes of the tree \"%2\". Meta-file: %3.", *this,
                     node, {}, [&] {
                         m_table.Get(node);
                         std::vector<std::u16string> names;
                         for (const CMtfAttrEntry* attr : m_table.ListAttrs(node)) {
                             names.emplace_back(attr->name.View());
                         }
                         return names;
                     });
}

void CMtfAttrsTreeData::SetAttr(std::uint64_t node, std::u16string_view path,
                                std::u16string_view value) {
    InContext(u"Failed to create attribute \"%1\" in the tree \"%2\". Meta-file:\"%3\".", *this,
              node, path, [&] {
                  const CMtfAttrPath split = SplitAttrPath(path);
                  const std::uint64_t target = FindOrAddSubtree(node, split.subtree, false);
                  const std::u16string fullName = JoinNames(NodePath(target), split.name);
                  const CMtfAttrKey key(target, split.name);
                  if (CMtfAttrEntry* const entry = m_table.FindAttr(key)) {
                      CMtfText kept = CMtfText::Copy(value);
                      m_lines->ReplaceAttrLine(entry->line, fullName, value);
                      entry->value = std::move(kept);
                  } else {
                      AddAttr(key, fullName, value);
                  }
              });
}

void CMtfAttrsTreeData::AddAttr(const CMtfAttrKey& key, std::u16string_view fullName,
                                std::u16string_view value) {
    m_table.SetAttrEntry(key, value, m_lines->Count(), false);
    try {
        m_lines->AppendAttrLine(fullName, value);
    } catch (const std::bad_alloc&) {
        m_table.EraseAttr(key);  // the tree has no attribute without a line
        throw;
    }
}

bool CMtfAttrsTreeData::FindAttr(std::uint64_t node, std::u16string_view path,
                                 std::u16string_view& value) const {
    return InContext(u"Failed to find attribute \"%1\" in meta-file \"%3\". Search root is \"%2\"",
                     *this, node, path, [&] {
                         const CMtfAttrPath split = SplitAttrPath(path);
                         const std::uint64_t target = FindNode(node, split.subtree);
                         const CMtfAttrEntry* entry =
                             target == kNoNode ? nullptr : m_table.FindAttr({target, split.name});
                         if (entry != nullptr) {
                             value = entry->value.View();
                         }
                         return entry != nullptr;
                     });
}

std::u16string_view CMtfAttrsTreeData::GetExistingAttr(std::uint64_t node,
                                                       std::u16string_view path) const {
    std::u16string_view value;
    if (!FindAttr(node, path, value)) {
        throw CExc(u"The meta-file \"%1\" does not contain attribute \"%2\" under the tree \"%3\".",
                   {m_name, path, DisplayPath(node)}, kFail);
    }
    return value;
}

void CMtfAttrsTreeData::DelAttr(std::uint64_t node, std::u16string_view path) {
    InContext(u"Failed to delete attribute \"%1\" from the tree \"%2\". Meta-file: \"%3\".", *this,
              node, path, [&] {
                  const CMtfAttrPath split = SplitAttrPath(path);
                  const std::uint64_t target = FindNode(node, split.subtree);
                  if (target == kNoNode) {
                      return;
                  }
                  const CMtfAttrKey key(target, split.name);
                  if (const CMtfAttrEntry* const entry = m_table.FindAttr(key)) {
                      m_lines->MarkDeleted(entry->line);
                      m_table.EraseAttr(key);
                  }
              });
}

std::vector<std::u16string> CMtfAttrsTreeData::EnumAllAttrs() const {
    std::vector<std::u16string> paths;
    for (CMtfListedAttr& attr : ListAllAttrs()) {
        paths.push_back(std::move(attr.path));
    }
    return paths;
}

std::vector<CMtfListedAttr> CMtfAttrsTreeData::ListAllAttrs() const {
    return frame::WithContext(
        u"List of the attributes stored in meta-file \"%1\" is not available.", {m_name}, [&] {
            std::vector<CMtfListedAttr> attrs;
            for (std::uint64_t node = 0; node < m_table.Size(); ++node) {
                if (!m_table.HasAttrs(node)) {
                    continue;
                }
                const std::u16string prefix = NodePath(node);
                for (const CMtfAttrEntry* attr : m_table.ListAttrs(node)) {
                    attrs.push_back({JoinNames(prefix, attr->name.View()), attr->value.View()});
                }
            }
            return attrs;
        });
}

std::u16string CMtfAttrsTreeData::NodePath(std::uint64_t node) const {
    std::array<std::u16string_view, kMaxPathNames> names;
    std::size_t count = 0;
    const CMtfTreeNode* current = &m_table.Get(node);
    while (current->parent != CMtfTreeNode::kNone && count < names.size()) {
        names[count++] = current->name.View();
        current = &m_table.Get(current->parent);
    }
    std::u16string path;
    while (count > 0) {
        path = JoinNames(std::move(path), names[--count]);
    }
    return path;
}

std::u16string CMtfAttrsTreeData::DisplayPath(std::uint64_t node) const {
    try {
        return NodePath(node);
    } catch (const CExc&) {
        return frame::UInt64ToString(node);
    }
}

std::optional<CMtfTreeRef> CMtfTreeRef::FindSubtree(std::u16string_view path) const {
    const std::uint64_t found = m_tree->FindSubtree(m_node, path);
    return found == CMtfAttrsTreeData::kNoNode ? std::nullopt
                                               : std::optional(CMtfTreeRef(m_tree, found));
}

CMtfTreeRef CMtfTreeRef::CreateSubtree(std::u16string_view path) const {
    return {m_tree, m_tree->CreateSubtree(m_node, path)};
}

CMtfTreeRef CMtfTreeRef::GetExistingSubtree(std::u16string_view path) const {
    return {m_tree, m_tree->GetExistingSubtree(m_node, path)};
}

void CMtfTreeRef::DelSubtree(std::u16string_view path) const {
    m_tree->DelSubtree(m_node, path);
}

std::vector<std::u16string> CMtfTreeRef::EnumChildTrees() const {
    return m_tree->EnumChildTrees(m_node);
}

std::vector<std::u16string> CMtfTreeRef::EnumChildAttrs() const {
    return m_tree->EnumChildAttrs(m_node);
}

void CMtfTreeRef::SetAttr(std::u16string_view path, std::u16string_view value) const {
    m_tree->SetAttr(m_node, path, value);
}

bool CMtfTreeRef::FindAttr(std::u16string_view path, std::u16string_view& value) const {
    return m_tree->FindAttr(m_node, path, value);
}

std::u16string_view CMtfTreeRef::GetExistingAttr(std::u16string_view path) const {
    return m_tree->GetExistingAttr(m_node, path);
}

std::u16string_view CMtfTreeRef::GetExistingAttrHere(std::u16string_view path) const {
    std::u16string_view value;
    if (!FindAttr(path, value)) {
        throw CExc(u"Attribute \"%1\" was not found under the tree \"%2\".",
                   {path, m_tree->DisplayPath(m_node)}, kFail);
    }
    return value;
}

void CMtfTreeRef::DelAttr(std::u16string_view path) const {
    m_tree->DelAttr(m_node, path);
}

}  // namespace mtf
