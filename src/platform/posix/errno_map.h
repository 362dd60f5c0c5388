// Conversion of errno values to Win32 codes.
#pragma once

#include <cstdint>
#include <string>

namespace platform::posix {

std::uint32_t Win32FromErrno(int error) noexcept;

// The same for a failed call on the native path `path`. ENOENT gives 3 when the folder of
// `path` is missing, otherwise 2.
std::uint32_t Win32FromErrno(int error, const std::string& path);

// Set the last error to `code`, to the code of errno, or to the code of errno for a call on
// `path`, and return false.
bool Fail(std::uint32_t code) noexcept;
bool FailErrno() noexcept;
bool FailErrno(const std::string& path);

}  // namespace platform::posix
