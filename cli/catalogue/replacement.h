// Steps to replace a file by a new one that is renamed to it.
#pragma once

#include <string>

namespace zorel::cli {

// Gives the file at `path` the owner and the permissions of the regular file `target`, as far as
// the privileges of the user allow. Without such a target the file stays as it is. Throws
// std::system_error with the target.
void TakeAttributes(const std::string& path, const std::string& target);

// Write the content of a file, and the names in a folder, to the disk. Throw std::system_error with
// the target.
void SyncFile(const std::string& path, const std::string& target);
void SyncFolder(const std::string& path, const std::string& target);

}  // namespace zorel::cli
