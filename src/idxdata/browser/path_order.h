// Orders files by their relative paths without comparing a shared folder path twice.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "idxdata/browser/path_key.h"

namespace idxdata {

class CListedFolders;
struct CFileEntry;

// Three-way comparison of two paths given as prefix and name, ASCII letters folded.
int ComparePathsNoCase(std::u16string_view prefixA, std::u16string_view nameA,
                       std::u16string_view prefixB, std::u16string_view nameB) noexcept;

// The positions of `entries` in the order of their full relative paths; `keys` are the keys
// of their names. No name may contain a backslash. The files of a folder and of its
// subfolders are then consecutive, and a folder sorts among its neighbours as its name
// followed by a backslash. So each folder's files and subfolders are sorted among
// themselves only.
std::vector<std::uint32_t> OrderByFolders(const CListedFolders& folders,
                                          std::span<const CFileEntry> entries,
                                          std::span<const PathKey> keys);

}  // namespace idxdata
