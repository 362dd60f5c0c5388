// Helpers that adapt system calls to the contracts of the platform headers.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform::win32 {

// Sets the last error and returns false.
bool Fail(std::uint32_t code) noexcept;

// Makes a system call that returns whether it succeeded. Restores the last error after a
// success, which the system does not guarantee.
template <class Call>
bool Succeeds(Call call) noexcept(noexcept(call())) {
    const DWORD before = ::GetLastError();
    if (!call()) {
        return false;
    }
    ::SetLastError(before);
    return true;
}

// The path for a system call. Nothing, with last error 123, for a path with an embedded NUL,
// which the system would read as its end.
std::optional<std::u16string> NativePath(std::u16string_view path);

}  // namespace platform::win32
