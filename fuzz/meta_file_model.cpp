#include "meta_file_model.h"

#include <algorithm>
#include <cstring>

#include "support/meta_file_bytes.h"

namespace fuzz {

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

std::u16string Join(const std::u16string& path, const std::u16string& name) {
    return path + (path.empty() || name.empty() ? u"" : u".") + name;
}

// The normalized path up to the last element, and the last element.
std::pair<std::u16string, std::u16string> SplitLast(std::u16string_view path) {
    std::pair<std::u16string, std::u16string> split;
    for (const std::u16string& element : Split(path, u".")) {
        if (!element.empty()) {
            split = {Join(split.first, split.second), element};
        }
    }
    return split;
}

std::u16string Fold(std::u16string text) {
    for (char16_t& unit : text) {
        unit = unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    }
    return text;
}

std::u16string Trim(std::u16string text) {
    text.erase(text.find_last_not_of(u" \t") + 1);
    return text.erase(0, text.find_first_not_of(u" \t"));
}

}  // namespace

void CMetaFileModel::Open(bool startEmpty) {
    m_lines.clear();
    m_nodes.assign(1, {});
    if (startEmpty) {
        return m_disk.reset();
    }
    m_disk = m_disk.value_or(support::MetaFileBytes(u""));
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
            const auto [path, name] = SplitLast(Trim(line.substr(0, sign)));
            Find(path, true)->attrs[name] = {Trim(line.substr(sign + 1)), m_lines.size()};
        }
        m_lines.emplace_back(line);
    }
}

// The node with this path, or null.
CMetaFileModel::Node* CMetaFileModel::Find(std::u16string_view path, bool create) {
    const auto [parent, name] = SplitLast(path);
    const auto found = std::ranges::find(m_nodes, Fold(Join(parent, name)),
                                         [](const Node& node) { return Fold(node.path); });
    if (found != m_nodes.end() || !create) {
        return found == m_nodes.end() ? nullptr : &*found;
    }
    const std::u16string spelled = Join(Find(parent, true)->path, name);
    return &m_nodes.emplace_back(Node{spelled, {}});
}

bool CMetaFileModel::SetAttr(std::u16string_view path, std::u16string_view value) {
    const auto [subtree, name] = SplitLast(path);
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
    const auto [subtree, name] = SplitLast(path);
    Node* const node = Find(subtree, false);
    if (node != nullptr && node->attrs.contains(name)) {
        m_lines[node->attrs[name].line].reset();
        node->attrs.erase(name);
    }
    return !name.empty();
}

void CMetaFileModel::DelSubtree(std::u16string_view path) {
    const auto [parent, name] = SplitLast(path);
    const std::u16string top = Fold(Join(parent, name)) + u'.';
    std::erase_if(m_nodes, [&](const Node& node) {
        const bool isUnder = top != u"." && (Fold(node.path) + u'.').starts_with(top);
        for (auto attr = node.attrs.begin(); isUnder && attr != node.attrs.end(); ++attr) {
            m_lines[attr->second.line].reset();
        }
        return isUnder;
    });
}

void CMetaFileModel::PushComment(std::u16string_view text) {
    for (Texts left = Split(text, u"\n"); !left.empty(); left.erase(left.begin())) {
        std::u16string& piece = left.front();
        piece.resize(piece.size() - (left.size() > 1 && piece.ends_with(u'\r') ? 1 : 0));
        if (left.size() > 1 || !piece.empty()) {
            m_lines.emplace_back(u'#' + piece);
        }
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
    m_disk = support::MetaFileBytes(content);
}

Texts CMetaFileModel::Dump(const std::u16string& path) const {
    Texts out;
    for (const Node& node : m_nodes) {
        for (const auto& [name, attr] : node.path == path ? node.attrs : decltype(node.attrs)()) {
            out.push_back(name + u'=' + attr.value);
        }
    }
    for (const Node& node : m_nodes) {
        const bool isUnder = node.path.size() > path.size() && node.path.starts_with(path);
        const auto [parent, name] = isUnder ? SplitLast(node.path) : decltype(SplitLast(u""))();
        if (isUnder && parent == path) {
            out.push_back(u'[' + name);
            std::ranges::move(Dump(node.path), std::back_inserter(out));
            out.push_back(u"]");
        }
    }
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

}  // namespace fuzz
