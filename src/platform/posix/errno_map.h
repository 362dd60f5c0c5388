// From the system's error numbers to Win32 codes.
#pragma once

#include <cstdint>
#include <string>

namespace platform::posix {

std::uint32_t Win32FromErrno(int error) noexcept;

// The same for a failed call on `path` (as the system takes it): what is missing is the
// file (2) or the folder that should hold it (3).
std::uint32_t Win32FromErrno(int error, const std::string& path);

// Set the last error and return false: the code given, the one of errno, the one of errno
// for a call on `path`.
bool Fail(std::uint32_t code) noexcept;
bool FailErrno() noexcept;
bool FailErrno(const std::string& path);

}  // namespace platform::posix
