// Conversions between ticks (times.h) and timespec.
#pragma once

#include <cstdint>
#include <ctime>

#include "platform/times.h"

namespace platform::posix {

// 1601-01-01 to 1970-01-01.
inline constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;

// A time before 1601 gives 0, a time past the range of ticks gives the last tick.
inline std::int64_t TicksFromTimespec(const std::timespec& time) noexcept {
    constexpr std::int64_t kLastSecond = INT64_MAX / kTicksPerSecond - 1;
    if (time.tv_sec < -kSecondsTo1970) {
        return 0;
    }
    if (time.tv_sec > kLastSecond - kSecondsTo1970) {
        return INT64_MAX;
    }
    return (time.tv_sec + kSecondsTo1970) * kTicksPerSecond + time.tv_nsec / 100;
}

// `ticks` is not negative.
inline std::timespec TimespecFromTicks(std::int64_t ticks) noexcept {
    return {ticks / kTicksPerSecond - kSecondsTo1970, ticks % kTicksPerSecond * 100};
}

}  // namespace platform::posix
