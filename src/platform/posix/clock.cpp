#include <cerrno>
#include <ctime>

#include "platform/times.h"

namespace platform {

SystemTime GetLocalTime() noexcept {
    std::timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    std::tm local{};
    ::localtime_r(&now.tv_sec, &local);
    SystemTime time{};
    time.year = static_cast<std::uint16_t>(local.tm_year + 1900);
    time.month = static_cast<std::uint16_t>(local.tm_mon + 1);
    time.dayOfWeek = static_cast<std::uint16_t>(local.tm_wday);
    time.day = static_cast<std::uint16_t>(local.tm_mday);
    time.hour = static_cast<std::uint16_t>(local.tm_hour);
    time.minute = static_cast<std::uint16_t>(local.tm_min);
    // SystemTime has no leap second.
    time.second = static_cast<std::uint16_t>(local.tm_sec < 60 ? local.tm_sec : 59);
    time.milliseconds = static_cast<std::uint16_t>(now.tv_nsec / 1'000'000);
    return time;
}

void Sleep(std::uint32_t milliseconds) noexcept {
    std::timespec rest{milliseconds / 1000, static_cast<long>(milliseconds % 1000) * 1'000'000};
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
    }
}

}  // namespace platform
