#include "tdf/binary_search/folder_paths.h"

namespace tdf {

namespace {

// The code units that are cached. Ordinary volumes need less; the paths of a very long
// chain of folders would need more memory than the volume itself.
constexpr std::size_t kMaxPathUnits = 64 * 1024 * 1024;

}  // namespace

CFolderPaths::CFolderPaths(idxdata::CSeqTableReader& table)
    : m_folders(table), m_leadsToRoot(m_folders.Count()) {
    FindWaysToRoot();
}

// Each folder is visited once: a walk ends at a folder that this or an earlier walk visited.
void CFolderPaths::FindWaysToRoot() {
    std::vector<bool> visited(m_folders.Count());
    std::vector<std::size_t> walk;
    for (std::size_t start = 0; start < m_folders.Count(); ++start) {
        walk.clear();
        const std::int64_t end =
            m_folders.WalkUp(static_cast<std::int64_t>(start), [&](std::size_t folder) {
                if (visited[folder]) {
                    return false;
                }
                visited[folder] = true;
                walk.push_back(folder);
                return true;
            });
        const bool leads = LeadsToRoot(end);
        for (const std::size_t folder : walk) {
            m_leadsToRoot[folder] = leads;
        }
        m_allLeadToRoot = m_allLeadToRoot && leads;
    }
}

const std::u16string& CFolderPaths::PathOf(std::int64_t index) {
    if (index == idxdata::CFolderTable::kRoot) {
        return m_rootPath;
    }
    m_ids.resize(m_folders.Count());
    std::uint32_t& id = m_ids[static_cast<std::size_t>(index)];
    if (id != 0) {
        return m_paths[id - 1];
    }
    Build(index, m_uncachedPath);
    if (m_uncachedPath.size() > kMaxPathUnits - m_pathUnits) {
        return m_uncachedPath;
    }
    m_paths.emplace_back(m_uncachedPath);
    m_pathUnits += m_uncachedPath.size();
    id = static_cast<std::uint32_t>(m_paths.size());
    return m_paths.back();
}

void CFolderPaths::Build(std::int64_t index, std::u16string& path) {
    m_chain.clear();
    m_folders.WalkUp(index, [&](std::size_t folder) {
        m_chain.push_back(folder);
        return true;
    });
    path.clear();
    m_folders.AppendPath(path, m_chain);
}

}  // namespace tdf
