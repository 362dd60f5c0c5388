// A plain model of a meta-file, slow and independent of the engine.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fuzz {

// One meta-file, opened and on its disk.
class CMetaFileModel {
public:
    const std::optional<std::string>& Disk() const { return m_disk; }

    // `bytes` are UTF-16 text without NUL.
    void SetDisk(std::string bytes) { m_disk = std::move(bytes); }
    // Reads the file, or deletes it and starts empty.
    void Open(bool startEmpty);
    void Save();
    // False for a path without elements.
    bool SetAttr(std::u16string_view path, std::u16string_view value);
    bool DelAttr(std::u16string_view path);
    void CreateSubtree(std::u16string_view path) { Find(path, true); }
    void DelSubtree(std::u16string_view path);
    void PushComment(std::u16string_view text);

    // The tree from the subtree with this path on, in depth-first order: subtrees as "[name" and
    // "]", attributes as "name=value".
    std::vector<std::u16string> Dump(const std::u16string& path = {}) const;
    std::vector<std::u16string> AllAttrs() const;

private:
    struct Attr {
        std::u16string value;
        std::size_t line;
    };
    struct Node {
        std::u16string path;  // from the root, as spelled at the creation
        std::map<std::u16string, Attr> attrs;
    };

    Node* Find(std::u16string_view path, bool create);

    std::optional<std::string> m_disk;
    std::vector<std::optional<std::u16string>> m_lines;  // deleted lines are null
    std::vector<Node> m_nodes;                           // in order of creation, the root first
};

}  // namespace fuzz
