#include "support/meta_file_model.h"

#include <algorithm>

namespace support {

namespace {

using Texts = std::vector<std::u16string>;

Texts Split(std::u16string_view text, std::u16string_view separator) {
    Texts parts;
    for (std::size_t end; (end = text.find(separator)) != text.npos;) {
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(end + separator.size());
    }
    parts.emplace_back(text);
    return parts;
}

std::u16string Join(std::u16string_view path, std::u16string_view name) {
    return std::u16string(path) + (path.empty() || name.empty() ? u"" : u".") +
           std::u16string(name);
}

std::u16string Normalized(std::u16string_view path) {
    std::u16string joined;
    for (const std::u16string& element : Split(path, u".")) {
        joined = Join(joined, element);
    }
    return joined;
}

// The path up to the last element, and the last element.
std::pair<std::u16string, std::u16string> SplitLast(std::u16string_view path) {
    const std::size_t dot = path.rfind(u'.');
    return dot == path.npos ? std::pair(std::u16string(), std::u16string(path))
                            : std::pair(std::u16string(path.substr(0, dot)),
                                        std::u16string(path.substr(dot + 1)));
}

std::u16string Fold(std::u16string text) {
    for (char16_t& unit : text) {
        unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    }
    return text;
}

std::u16string Trim(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u" \t");
    return first == text.npos
               ? std::u16string()
               : std::u16string(text.substr(first, text.find_last_not_of(u" \t") + 1 - first));
}

void DumpSubtree(const mtf::CMtfAttrsTreeData& tree, std::uint64_t node, Texts& out) {
    for (const std::u16string& name : tree.EnumChildAttrs(node)) {
        out.push_back(name + u'=' + std::u16string(tree.GetExistingAttr(node, name)));
    }
    for (const std::u16string& name : tree.EnumChildTrees(node)) {
        out.push_back(u'[' + name);
        DumpSubtree(tree, tree.GetExistingSubtree(node, name), out);
        out.push_back(u"]");
    }
}

}  // namespace

Texts DumpTree(const mtf::CMtfAttrsTreeData& tree) {
    Texts out;
    DumpSubtree(tree, mtf::CMtfAttrsTreeData::kRoot, out);
    return out;
}

void CMetaFileModel::Open(bool startEmpty) {
    m_lines.clear();
    m_nodes.assign(1, {});
    if (startEmpty) {
        return m_disk.reset();
    }
    m_disk = m_disk.value_or(MetaFileBytes(u""));
    std::u16string text(m_disk->size() / 2 - 1, u'\0');
    std::memcpy(text.data(), m_disk->data() + 2, text.size() * 2);
    Texts lines = text.empty() ? Texts() : Split(text, u"\r\n");
    if (lines.size() > 1 && lines.back().empty()) {  // a line end that ends the text is text
        lines.pop_back();
        lines.back() += u"\r\n";
    }
    for (const std::u16string& line : lines) {
        const std::size_t sign = line.find(u'=');
        if (sign != line.npos && line.front() != u'#') {
            const auto [path, name] = SplitLast(Normalized(Trim(line.substr(0, sign))));
            Find(path, true)->attrs[name] = {Trim(line.substr(sign + 1)), m_lines.size()};
        }
        m_lines.emplace_back(line);
    }
}

// The node with this normalized path, or null.
CMetaFileModel::Node* CMetaFileModel::Find(std::u16string_view path, bool create) {
    const std::u16string folded = Fold(std::u16string(path));
    const auto found = std::find_if(m_nodes.begin(), m_nodes.end(),
                                    [&](const Node& node) { return node.folded == folded; });
    if (found != m_nodes.end() || !create) {
        return found == m_nodes.end() ? nullptr : &*found;
    }
    const auto [parentPath, name] = SplitLast(path);
    const std::u16string parent = Find(parentPath, true)->path;
    const std::u16string spelled = Join(parent, name);
    return &m_nodes.emplace_back(Node{spelled, Fold(spelled), parent, {}});
}

bool CMetaFileModel::SetAttr(std::u16string_view path, std::u16string_view value) {
    const auto [subtree, name] = SplitLast(Normalized(path));
    if (name.empty()) {
        return false;
    }
    Node& node = *Find(subtree, true);
    const auto [attr, isNew] = node.attrs.try_emplace(name, Attr{u"", m_lines.size()});
    attr->second.value = value;
    m_lines.resize(m_lines.size() + (isNew ? 1 : 0));
    m_lines[attr->second.line] = Join(node.path, name) + u'=' + std::u16string(value);
    return true;
}

bool CMetaFileModel::DelAttr(std::u16string_view path) {
    const auto [subtree, name] = SplitLast(Normalized(path));
    Node* const node = Find(subtree, false);
    if (node != nullptr && node->attrs.contains(name)) {
        m_lines[node->attrs[name].line].reset();
        node->attrs.erase(name);
    }
    return !name.empty();
}

void CMetaFileModel::CreateSubtree(std::u16string_view path) {
    Find(Normalized(path), true);
}

void CMetaFileModel::DelSubtree(std::u16string_view path) {
    const std::u16string top = Fold(Normalized(path));
    std::erase_if(m_nodes, [&](const Node& node) {
        const bool isUnder = node.folded == top || node.folded.starts_with(top + u'.');
        if (top.empty() || !isUnder) {
            return false;
        }
        for (const auto& [name, attr] : node.attrs) {
            m_lines[attr.line].reset();
        }
        return true;
    });
}

void CMetaFileModel::PushComment(std::u16string_view text) {
    Texts pieces = Split(text, u"\n");
    const std::u16string last = pieces.back();
    pieces.pop_back();
    for (std::u16string& piece : pieces) {
        piece.resize(piece.size() - (piece.ends_with(u'\r') ? 1 : 0));
        m_lines.emplace_back(u'#' + piece);
    }
    if (!last.empty()) {
        m_lines.emplace_back(u'#' + last);
    }
}

void CMetaFileModel::Save() {
    std::u16string content;
    bool isFirst = true;
    for (const auto& line : m_lines) {
        if (line) {
            content += (std::exchange(isFirst, false) ? u"" : u"\r\n") + *line;
        }
    }
    m_disk = MetaFileBytes(content);
}

void CMetaFileModel::DumpNode(const Node& node, Texts& out) const {
    for (const auto& [name, attr] : node.attrs) {
        out.push_back(name + u'=' + attr.value);
    }
    for (const Node& child : m_nodes) {
        if (&child != m_nodes.data() && child.parent == node.path) {
            out.push_back(u'[' + SplitLast(child.path).second);
            DumpNode(child, out);
            out.push_back(u"]");
        }
    }
}

Texts CMetaFileModel::Dump() const {
    Texts out;
    DumpNode(m_nodes.front(), out);
    return out;
}

Texts CMetaFileModel::AllAttrs() const {
    Texts out;
    for (const Node& node : m_nodes) {
        for (const auto& [name, attr] : node.attrs) {
            out.push_back(Join(node.path, name));
        }
    }
    return out;
}

}  // namespace support
