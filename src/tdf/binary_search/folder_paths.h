// The full paths of a volume's folders.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "idxdata/tables/folder_table.h"

namespace tdf {

// The folders of one volume with any parents, and the paths of those that lead to the root.
// Caches paths, so one thread at a time.
class CFolderPaths {
public:
    // Reads the table from its first record; throws what CFolderTable throws.
    explicit CFolderPaths(idxdata::CSeqTableReader& table);

    const idxdata::CFolderTable& Folders() const noexcept { return m_folders; }

    // Whether the parents of a folder lead to the root.
    bool LeadsToRoot(std::int64_t index) const noexcept {
        return index == idxdata::CFolderTable::kRoot ||
               (m_folders.Contains(index) && m_leadsToRoot[static_cast<std::size_t>(index)]);
    }
    bool AllLeadToRoot() const noexcept { return m_allLeadToRoot; }
    // The path of a folder that leads to the root, from the root on: "Users\john\", or empty for
    // the root. Valid until the next call.
    const std::u16string& PathOf(std::int64_t index);

private:
    void FindWaysToRoot();
    void Build(std::int64_t index, std::u16string& path);

    idxdata::CFolderTable m_folders;
    std::vector<bool> m_leadsToRoot;  // by folder
    bool m_allLeadToRoot = true;
    std::vector<std::uint32_t> m_ids;  // by folder: 0, or its position in m_paths plus 1
    std::deque<std::u16string> m_paths;
    std::size_t m_pathUnits = 0;    // code units in m_paths
    std::u16string m_uncachedPath;  // the last path that is not in m_paths
    const std::u16string m_rootPath;
    std::vector<std::size_t> m_chain;  // the folders of the path being built
};

}  // namespace tdf
