#include "support/meta_file_model.h"

#include <algorithm>

namespace support {

namespace {

using Elements = std::vector<std::u16string>;

Elements Split(std::u16string_view path) {
    Elements elements(1);
    for (const char16_t unit : path) {
        if (unit == u'.') {
            elements.emplace_back();
        } else {
            elements.back() += unit;
        }
    }
    std::erase(elements, std::u16string());
    return elements;
}

std::u16string Fold(std::u16string text) {
    for (char16_t& unit : text) {
        unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    }
    return text;
}

std::u16string Trim(std::u16string text) {
    const auto isBlank = [](char16_t unit) { return unit == u' ' || unit == u'\t'; };
    while (!text.empty() && isBlank(text.back())) {
        text.pop_back();
    }
    while (!text.empty() && isBlank(text.front())) {
        text.erase(0, 1);
    }
    return text;
}

std::u16string Join(const std::u16string& path, const std::u16string& name) {
    return path.empty() ? name : path + u'.' + name;
}

void DumpSubtree(const mtf::CMtfAttrsTreeData& tree, std::uint64_t node,
                 std::vector<std::u16string>& out) {
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

std::vector<std::u16string> DumpTree(const mtf::CMtfAttrsTreeData& tree) {
    std::vector<std::u16string> out;
    DumpSubtree(tree, mtf::CMtfAttrsTreeData::kRoot, out);
    return out;
}

void CMetaFileModel::Open(mtf::EMtfOpenMode mode) {
    m_lines.clear();
    m_root = Node();
    m_nextId = 1;
    m_held = mode == mtf::EMtfOpenMode::EMtfOpenRW;
    if (mode == mtf::EMtfOpenMode::EMtfCreateNewDetached) {
        m_disk.reset();
    } else if (!m_disk) {
        m_disk = "\xFF\xFE";
    }
    if (m_disk) {
        Parse(std::string_view(*m_disk).substr(2));
    }
    for (std::size_t line = 0; line < m_lines.size(); ++line) {
        AddToTree(line);
    }
}

void CMetaFileModel::Parse(std::string_view bytes) {
    std::u16string text(bytes.size() / 2, u'\0');
    std::memcpy(text.data(), bytes.data(), bytes.size());
    while (!text.empty()) {
        std::size_t end = text.find(u"\r\n");
        // A line end that ends the text belongs to the last line.
        end = end == std::u16string_view::npos || end + 2 == text.size() ? text.size() : end;
        m_lines.push_back({text.substr(0, end), EState::Unchanged});
        text.erase(0, end + 2);
    }
}

void CMetaFileModel::AddToTree(std::size_t line) {
    const std::u16string& text = *m_lines[line].text;
    const std::size_t sign = text.find(u'=');
    if (sign == std::u16string_view::npos || text.front() == u'#') {
        return;
    }
    Elements path = Split(Trim(text.substr(0, sign)));
    const std::u16string name = path.back();
    path.pop_back();
    Walk(path, true)->attrs[name] = {Trim(text.substr(sign + 1)), line};
}

CMetaFileModel::Node* CMetaFileModel::Walk(const Elements& elements, bool create) {
    Node* node = &m_root;
    for (const std::u16string& element : elements) {
        const auto found =
            std::find_if(node->children.begin(), node->children.end(),
                         [&](const auto& child) { return Fold(child->name) == Fold(element); });
        if (found != node->children.end()) {
            node = found->get();
        } else if (create) {
            node->children.push_back(std::make_unique<Node>());
            Node* const child = node->children.back().get();
            child->name = element;
            child->parent = std::exchange(node, child);
            child->id = m_nextId++;
        } else {
            return nullptr;
        }
    }
    return node;
}

std::u16string CMetaFileModel::PathOf(const Node& node) {
    return node.parent == nullptr ? u"" : Join(PathOf(*node.parent), node.name);
}

bool CMetaFileModel::SetAttr(std::u16string_view path, std::u16string_view value) {
    Elements elements = Split(path);
    if (elements.empty()) {
        return false;
    }
    const std::u16string name = elements.back();
    elements.pop_back();
    Node* const node = Walk(elements, true);
    const std::u16string text = Join(PathOf(*node), name) + u'=' + std::u16string(value);
    const auto attr = node->attrs.find(name);
    if (attr == node->attrs.end()) {
        node->attrs[name] = {std::u16string(value), m_lines.size()};
        m_lines.push_back({text, EState::Appended});
    } else {
        attr->second.first = value;
        m_lines[attr->second.second] = {text, EState::Modified};
    }
    return true;
}

bool CMetaFileModel::DelAttr(std::u16string_view path) {
    Elements elements = Split(path);
    if (elements.empty()) {
        return false;
    }
    const std::u16string name = elements.back();
    elements.pop_back();
    Node* const node = Walk(elements, false);
    if (node != nullptr && node->attrs.count(name) != 0) {
        m_lines[node->attrs[name].second].state = EState::Deleted;
        node->attrs.erase(name);
    }
    return true;
}

void CMetaFileModel::CreateSubtree(std::u16string_view path) {
    Walk(Split(path), true);
}

void CMetaFileModel::DelSubtree(std::u16string_view path) {
    Node* const node = Walk(Split(path), false);
    if (node != nullptr && node != &m_root) {
        DeleteLines(*node);
        std::erase_if(node->parent->children,
                      [&](const auto& child) { return child.get() == node; });
    }
}

void CMetaFileModel::DeleteLines(const Node& node) {
    for (const auto& [name, entry] : node.attrs) {
        m_lines[entry.second].state = EState::Deleted;
    }
    for (const auto& child : node.children) {
        DeleteLines(*child);
    }
}

void CMetaFileModel::PushComment(std::u16string_view text) {
    std::u16string piece;
    for (const char16_t unit : text) {
        if (unit != u'\n') {
            piece += unit;
            continue;
        }
        if (piece.ends_with(u'\r')) {
            piece.pop_back();
        }
        m_lines.push_back({u'#' + std::exchange(piece, {}), EState::Appended});
    }
    if (!piece.empty()) {
        m_lines.push_back({u'#' + piece, EState::Appended});
    }
}

std::string CMetaFileModel::Compose(std::size_t from, bool first) const {
    std::string bytes;
    for (std::size_t i = from; i < m_lines.size(); ++i) {
        if (m_lines[i].text && m_lines[i].state != EState::Deleted) {
            bytes += WideBytes(std::exchange(first, false) ? u"" : u"\r\n");
            bytes += WideBytes(*m_lines[i].text);
        }
    }
    return bytes;
}

void CMetaFileModel::Save() {
    const auto changed = std::find_if(m_lines.begin(), m_lines.end(), [](const Line& line) {
        return line.text && line.state != EState::Unchanged;
    });
    if (m_held && changed == m_lines.end()) {
        return;
    }
    if (m_held && changed->state == EState::Appended) {
        const bool first =
            std::none_of(m_lines.begin(), changed, [](const Line& line) { return line.text; });
        *m_disk += Compose(static_cast<std::size_t>(changed - m_lines.begin()), first);
    } else {
        m_disk = "\xFF\xFE" + Compose(0, true);
    }
    for (Line& line : m_lines) {
        if (line.state == EState::Deleted) {
            line.text.reset();
        }
        line.state = EState::Unchanged;
    }
}

void CMetaFileModel::DumpNode(const Node& node, std::vector<std::u16string>& out) {
    for (const auto& [name, entry] : node.attrs) {
        out.push_back(name + u'=' + entry.first);
    }
    for (const auto& child : node.children) {
        out.push_back(u'[' + child->name);
        DumpNode(*child, out);
        out.push_back(u"]");
    }
}

std::vector<std::u16string> CMetaFileModel::Dump() const {
    std::vector<std::u16string> out;
    DumpNode(m_root, out);
    return out;
}

void CMetaFileModel::Collect(const Node& node, std::map<std::size_t, const Node*>& byId) {
    byId[node.id] = &node;
    for (const auto& child : node.children) {
        Collect(*child, byId);
    }
}

std::vector<std::u16string> CMetaFileModel::AllAttrs() const {
    std::map<std::size_t, const Node*> byId;
    Collect(m_root, byId);
    std::vector<std::u16string> out;
    for (const auto& [id, node] : byId) {
        for (const auto& [name, entry] : node->attrs) {
            out.push_back(Join(PathOf(*node), name));
        }
    }
    return out;
}

}  // namespace support
