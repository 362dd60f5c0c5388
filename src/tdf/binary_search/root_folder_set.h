// The folders at and below the root path of a search.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "tdf/binary_search/folder_paths.h"

namespace tdf {

// Made once for each volume from its folders, in the order of their table: a parent that
// comes after its child does not count for it.
class CRootFolderSet {
public:
    // `rootPath` is cut at backslashes; its first element meets the volume's root.
    CRootFolderSet(const std::vector<Folder>& folders, std::u16string_view rootPath);

    // Whether there is nothing to search in the volume.
    bool IsEmpty() const noexcept { return !m_found; }
    bool Contains(std::int64_t index) const noexcept {
        return static_cast<std::uint64_t>(index) < m_members.size() &&
               m_members[static_cast<std::size_t>(index)];
    }

private:
    bool m_found = false;  // every element of the root path
    std::vector<bool> m_members;
};

}  // namespace tdf
