// How calls of the system are made so that they keep the port's contracts.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform::win32 {

// Sets the last error and returns false.
bool Fail(std::uint32_t code) noexcept;

// Makes a call of the system that tells its success. Success leaves the last error alone,
// as the port promises and the system does not.
template <class Call>
bool Succeeds(Call call) noexcept(noexcept(call())) {
    const DWORD before = ::GetLastError();
    if (!call()) {
        return false;
    }
    ::SetLastError(before);
    return true;
}

// A path as the system takes it. Nothing, with last error 123, for one with an embedded
// NUL, which the system would take for its end.
std::optional<std::u16string> NativePath(std::u16string_view path);

}  // namespace platform::win32
