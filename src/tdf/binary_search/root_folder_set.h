// The folders at and below the root path of a search.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "idxdata/tables/folder_table.h"

namespace tdf {

// Built from the folders of one volume in table order. A parent that comes after its child
// in the table is not recognised.
class CRootFolderSet {
public:
    // The elements of `rootPath` are separated by backslashes; the first one matches the
    // root of every volume.
    CRootFolderSet(const idxdata::CFolderTable& folders, std::u16string_view rootPath);

    // True when the volume has no such folder and need not be searched.
    bool IsEmpty() const noexcept { return !m_found; }
    bool Contains(std::int64_t index) const noexcept {
        return static_cast<std::uint64_t>(index) < m_members.size() &&
               m_members[static_cast<std::size_t>(index)];
    }

private:
    bool m_found = false;  // all elements of the root path matched
    std::vector<bool> m_members;
};

}  // namespace tdf
