// Helpers that adapt system calls to the contracts of the platform headers.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/errors.h"
#include "platform/win32/wide.h"

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

// Gets text from a call that stores it in a buffer: `call`(buffer, size) returns the length of
// the text, the required size with the NUL, or 0 for no text. False when it returned 0 and
// set the last error.
template <class Call>
bool FetchText(std::u16string& text, Call call) {
    std::u16string buffer(MAX_PATH, u'\0');
    DWORD length = 0;
    const bool done = Succeeds([&] {
        ::SetLastError(win32err::kSuccess);
        while ((length = call(Wide(buffer.data()), static_cast<DWORD>(buffer.size()))) >=
               buffer.size()) {
            buffer.resize(length);
        }
        return length > 0 || ::GetLastError() == win32err::kSuccess;
    });
    if (done) {
        buffer.resize(length);
        text = std::move(buffer);
    }
    return done;
}

// The path for a system call: absolute, with \\?\ and without "." and "..", forward slashes and
// doubled separators, so that its length is not limited. A path that has the prefix is used as
// it is, and so is the empty path. Nothing, with last error 123, for a path with an embedded
// NUL, which the system would read as its end. Every call with a path gets it from here.
std::optional<std::u16string> NativePath(std::u16string_view path);

}  // namespace platform::win32
