#include "tdf/binary_search/folder_paths.h"

#include <cstring>
#include <utility>

namespace tdf {

namespace {

// Paths are kept up to this many code units. Ordinary volumes stay below; in a chain of
// folders without end the paths would outgrow the volume itself.
constexpr std::size_t kMaxPathUnits = 64 * 1024 * 1024;

}  // namespace

CFolderPaths::CFolderPaths(std::u16string prefix, std::vector<Folder> folders)
    : m_prefix(std::move(prefix)), m_folders(std::move(folders)), m_leadsToRoot(m_folders.size()) {
    FindWaysToRoot();
}

// Every folder is walked over once: a walk ends where an earlier one, or itself, has been.
void CFolderPaths::FindWaysToRoot() {
    std::vector<bool> walked(m_folders.size());
    std::vector<std::size_t> walk;
    for (std::size_t start = 0; start < m_folders.size(); ++start) {
        walk.clear();
        auto i = static_cast<std::int64_t>(start);
        while (i != 0 && Exists(i) && !walked[static_cast<std::size_t>(i)]) {
            walk.push_back(static_cast<std::size_t>(i));
            walked[walk.back()] = true;
            i = m_folders[walk.back()].parent;
        }
        const bool leads = LeadsToRoot(i);
        for (const std::size_t folder : walk) {
            m_leadsToRoot[folder] = leads;
        }
        m_allLeadToRoot = m_allLeadToRoot && leads;
    }
}

const std::u16string& CFolderPaths::PathOf(std::int64_t index) {
    if (index == 0) {
        return m_prefix;
    }
    m_ids.resize(m_folders.size());
    std::uint32_t& id = m_ids[static_cast<std::size_t>(index)];
    if (id != 0) {
        return m_paths[id - 1];
    }
    Build(index, m_passingPath);
    if (m_passingPath.size() > kMaxPathUnits - m_pathUnits) {
        return m_passingPath;
    }
    m_paths.emplace_back(m_passingPath);
    m_pathUnits += m_passingPath.size();
    id = static_cast<std::uint32_t>(m_paths.size());
    return m_paths.back();
}

void CFolderPaths::Build(std::int64_t index, std::u16string& path) {
    std::size_t units = m_prefix.size();
    m_ancestors.clear();
    for (std::int64_t i = index; i != 0; i = m_folders[static_cast<std::size_t>(i)].parent) {
        m_ancestors.push_back(i);
        units += m_folders[static_cast<std::size_t>(i)].nameLength + std::size_t{1};
    }
    path = m_prefix;
    path.resize(units);
    auto* out = path.data() + m_prefix.size();
    for (std::size_t i = m_ancestors.size(); i-- > 0;) {
        const Folder& folder = m_folders[static_cast<std::size_t>(m_ancestors[i])];
        std::memcpy(out, folder.name, std::size_t{folder.nameLength} * 2);
        out += folder.nameLength;
        *out++ = u'\\';
    }
}

}  // namespace tdf
