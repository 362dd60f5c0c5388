// Paths of the engines as the system takes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform::posix {

// The UTF-8 form of `path` with / as separator and without \\?\, by the rules of files.h.
// Nothing, with the last error set, for a path that can name nothing: 3 for an empty one
// and for a drive letter, 123 for one with an embedded NUL.
std::optional<std::string> NativePath(std::u16string_view path);

// The folder that holds the entry `path`; separators at the end of `path` do not count.
std::string ParentFolder(const std::string& path);

}  // namespace platform::posix
