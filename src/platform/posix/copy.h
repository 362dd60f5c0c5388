// Copying a file, for CopyFileW and for moves to another volume.
#pragma once

#include <string>

namespace platform::posix {

// CopyFileW on native paths; `sync` also writes the content to the disk.
bool CopyFileTo(const std::string& source, const std::string& target, bool failIfExists, bool sync);

}  // namespace platform::posix
