// The folders of a volume and the paths that lead to them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace tdf {

// One record of the Dirs table; its name lies at any address in the loaded volume.
struct Folder {
    const std::byte* name;
    std::uint32_t nameLength;  // code units
    std::int64_t parent;       // as stored: any value
};

// The Dirs table of one loaded volume, which must outlive it. Parents may be anything:
// walks towards the root end. Remembers what it found out, so one thread at a time.
class CFolderPaths {
public:
    // `prefix` stands before every path: "C:\".
    CFolderPaths(std::u16string prefix, std::vector<Folder> folders);

    const std::vector<Folder>& Folders() const noexcept { return m_folders; }
    bool Exists(std::int64_t index) const noexcept {
        return static_cast<std::uint64_t>(index) < m_folders.size();
    }

    // Whether the parents lead from a folder to the root, index 0.
    bool LeadsToRoot(std::int64_t index) const noexcept {
        return index == 0 || (Exists(index) && m_leadsToRoot[static_cast<std::size_t>(index)]);
    }
    bool AllLeadToRoot() const noexcept { return m_allLeadToRoot; }
    // The path of a folder that leads to the root, with a backslash at its end. The text
    // is valid until the next call.
    const std::u16string& PathOf(std::int64_t index);

private:
    void FindWaysToRoot();
    void Build(std::int64_t index, std::u16string& path);

    std::u16string m_prefix;
    std::vector<Folder> m_folders;
    std::vector<bool> m_leadsToRoot;
    bool m_allLeadToRoot = true;
    std::vector<std::uint32_t> m_ids;  // 0, or the folder's place in m_paths plus 1
    std::deque<std::u16string> m_paths;
    std::size_t m_pathUnits = 0;            // code units in m_paths
    std::u16string m_passingPath;           // the last path that was not kept
    std::vector<std::int64_t> m_ancestors;  // of the path being built
};

}  // namespace tdf
