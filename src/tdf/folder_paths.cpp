#include "tdf/folder_paths.h"

#include <cstring>

namespace tdf {

namespace {

// Paths are kept up to this many code units. Ordinary volumes stay below; in a chain of
// folders without end the paths would outgrow the volume itself.
constexpr std::size_t kMostPathUnits = 64 * 1024 * 1024;

}  // namespace

// A walk of more steps than there are folders goes in a circle.
bool CFolderPaths::LeadsToRoot(std::int64_t index) {
    m_leadsToRoot.resize(m_folders.size());
    const auto isOpen = [this](std::int64_t i) {
        return i != 0 && !m_leadsToRoot[static_cast<std::size_t>(i)];
    };
    const auto parentOf = [this](std::int64_t i) {
        return m_folders[static_cast<std::size_t>(i)].parent;
    };
    std::size_t steps = 0;
    for (std::int64_t i = index; i != 0; i = parentOf(i)) {
        if (!Exists(i) || ++steps > m_folders.size()) {
            return false;
        }
        if (!isOpen(i)) {
            break;
        }
    }
    for (std::int64_t i = index; isOpen(i); i = parentOf(i)) {
        m_leadsToRoot[static_cast<std::size_t>(i)] = true;
    }
    return true;
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
    if (m_passingPath.size() > kMostPathUnits - m_pathUnits) {
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
