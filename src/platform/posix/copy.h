// Copying and renaming files, for more than one call.
#pragma once

#include <string>

#include "platform/posix/open_file.h"

namespace platform::posix {

// CopyFileW on native paths; `sync` also writes the content to the disk.
bool CopyFileTo(const std::string& source, const std::string& target, bool failIfExists, bool sync);

// The steps of a copy. The source may be open for writing, so that its writer can copy it. The
// copy is left open, without its former content; false with errno.
Opened OpenToCopy(const std::string& source, std::uint32_t flags);
bool CopyOpened(const Opened& source, const Opened& target, bool sync) noexcept;

// rename() that fails with EEXIST when the target exists; -1 with errno. On a file system
// without RENAME_NOREPLACE, a target created between the check and the rename is replaced.
int RenameWithoutReplacing(const char* source, const char* target) noexcept;

}  // namespace platform::posix
