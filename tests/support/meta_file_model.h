// A plain model of a meta-file, slow and independent of the engine.
#pragma once

#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/errors.h"
#include "mtf/tree/attrs_tree.h"
#include "support/target.h"

namespace support {

// The bytes of UTF-16 text, and of a meta-file with this content.
inline std::string WideBytes(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}
inline std::string MetaFileBytes(std::u16string_view content) {
    return "\xFF\xFE" + WideBytes(content);
}

// The whole message of the CExc that `action` throws; "<none>" when it throws none.
template <class Action>
std::u16string MessageOf(Action&& action) {
    try {
        action();
    } catch (const frame::CExc& exc) {
        return exc.GetFullMessage();
    }
    return u"<none>";
}

// A folder in memory where the system has one: many small files are flushed quickly there.
inline std::filesystem::path QuickFolder() {
    const std::filesystem::path memory = "/dev/shm";
    return kOnLinux && std::filesystem::exists(memory) ? memory
                                                       : std::filesystem::temp_directory_path();
}

// A tree in depth-first order: subtrees as "[name" and "]", attributes as "name=value".
std::vector<std::u16string> DumpTree(const mtf::CMtfAttrsTreeData& tree, std::uint64_t node = 0);

// One meta-file, opened and on its disk.
class CMetaFileModel {
public:
    const std::optional<std::string>& Disk() const { return m_disk; }

    // Reads the file, or deletes it and starts empty.
    void Open(bool startEmpty);
    void Save();
    // False for a path without elements.
    bool SetAttr(std::u16string_view path, std::u16string_view value);
    bool DelAttr(std::u16string_view path);
    void CreateSubtree(std::u16string_view path) { Find(path, true); }
    void DelSubtree(std::u16string_view path);
    void PushComment(std::u16string_view text);

    // As DumpTree, from the subtree with this path on.
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

}  // namespace support
