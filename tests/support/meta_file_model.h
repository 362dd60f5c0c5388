// A meta-file as it is described, without any care for speed: what the engine is held to.
#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/errors.h"
#include "mtf/store/meta_file.h"
#include "mtf/tree/attrs_tree.h"
#include "support/target.h"

namespace support {

// The bytes of UTF-16 text, and of a meta-file with this content.
inline std::string WideBytes(std::u16string_view text) {
    std::string bytes(text.size() * sizeof(char16_t), '\0');
    if (!text.empty()) {
        std::memcpy(bytes.data(), text.data(), bytes.size());
    }
    return bytes;
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

// A folder for many small files whose way to a disk need not be waited for.
inline std::filesystem::path QuickFolder() {
    const std::filesystem::path memory = "/dev/shm";
    return kOnLinux && std::filesystem::exists(memory) ? memory
                                                       : std::filesystem::temp_directory_path();
}

// What a tree holds, in its own order: subtrees as "[name", "]", attributes as "name=value".
std::vector<std::u16string> DumpTree(const mtf::CMtfAttrsTreeData& tree);

// One meta-file, on its disk and opened. Opening and saving always succeed.
class CMetaFileModel {
public:
    const std::optional<std::string>& Disk() const { return m_disk; }

    void Open(mtf::EMtfOpenMode mode);
    void Close() { m_held = false; }
    void Save();
    // These tell whether the path was valid.
    bool SetAttr(std::u16string_view path, std::u16string_view value);
    bool DelAttr(std::u16string_view path);
    void CreateSubtree(std::u16string_view path);
    void DelSubtree(std::u16string_view path);
    void PushComment(std::u16string_view text);

    // As DumpTree.
    std::vector<std::u16string> Dump() const;
    std::vector<std::u16string> AllAttrs() const;

private:
    enum class EState { Unchanged, Appended, Deleted, Modified };
    struct Line {
        std::optional<std::u16string> text;
        EState state = EState::Unchanged;
    };
    struct Node {
        std::u16string name;
        Node* parent = nullptr;
        std::vector<std::unique_ptr<Node>> children;
        std::map<std::u16string, std::pair<std::u16string, std::size_t>> attrs;
        std::size_t id = 0;
    };

    void Parse(std::string_view bytes);
    void AddToTree(std::size_t line);
    Node* Walk(const std::vector<std::u16string>& elements, bool create);
    static std::u16string PathOf(const Node& node);
    void DeleteLines(const Node& node);
    static void DumpNode(const Node& node, std::vector<std::u16string>& out);
    static void Collect(const Node& node, std::map<std::size_t, const Node*>& byId);
    std::string Compose(std::size_t from, bool first) const;

    std::optional<std::string> m_disk;
    std::vector<Line> m_lines;
    Node m_root;
    std::size_t m_nextId = 1;
    bool m_held = false;
};

}  // namespace support
