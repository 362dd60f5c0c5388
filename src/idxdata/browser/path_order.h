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

// The positions of `entries` in the order of their full relative paths; `keys` are those of
// their names. No name may hold a backslash: then all files of a folder, with those of its
// subfolders, stand together, and a folder's place among its neighbours is that of its name
// with a backslash behind it. So each folder's files and subfolders are sorted among
// themselves only.
std::vector<std::uint32_t> OrderByFolders(const CListedFolders& folders,
                                          std::span<const CFileEntry> entries,
                                          std::span<const PathKey> keys);

}  // namespace idxdata
