// Folders by descriptor.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <string>

#include "cli/catalogue/posix/descriptor.h"

namespace zorel::cli {

// Identifies a folder on this machine.
struct FolderId {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const FolderId&) const = default;
};

// Throws std::system_error with the path.
CDescriptor OpenFolder(const std::string& path);
// Opens a subfolder without following a symbolic link; none with errno on failure.
CDescriptor OpenSubfolder(int parent, const char* name);
// Throws std::system_error with `name`.
FolderId IdOf(const CDescriptor& folder, const std::string& name);

// Whether the path is that of a regular file; `status` is then its state. Follows no link.
bool IsRegularFile(const std::string& path, struct stat& status);

// Whether an errno value means that descriptors or memory are used up.
bool IsOutOfResources(int error);

// Calls `use` with each name except "." and ".." until it returns false. Returns 0, or the errno
// value when the folder could not be read to its end; throws std::system_error when resources
// run out.
int ForEachName(int folder, const std::function<bool(const std::string&)>& use);

}  // namespace zorel::cli
