// Conversion of paths to native paths.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform::posix {

// The UTF-8 form of `path` with / as separator and without \\?\, by the rules of files.h.
// Nothing, with the last error set, for an empty path and a drive letter (3) and for a path
// with an embedded NUL (123).
std::optional<std::string> NativePath(std::u16string_view path);

// The folder of the entry `path`; separators at the end of `path` are ignored.
std::string ParentFolder(const std::string& path);

}  // namespace platform::posix
