// Conversions between ticks (times.h) and FILETIME.
#pragma once

#include <windows.h>

#include <cstdint>

namespace platform::win32 {

inline std::int64_t TicksOf(const FILETIME& time) noexcept {
    return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

inline FILETIME FileTimeOf(std::int64_t ticks) noexcept {
    const auto bits = static_cast<std::uint64_t>(ticks);
    return {static_cast<DWORD>(bits), static_cast<DWORD>(bits >> 32)};
}

}  // namespace platform::win32
