#include <windows.h>

#include "platform/times.h"
#include "platform/win32/ticks.h"

namespace platform {

SystemTime GetLocalTime() noexcept {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    return {now.wYear, now.wMonth,  now.wDayOfWeek, now.wDay,
            now.wHour, now.wMinute, now.wSecond,    now.wMilliseconds};
}

std::int64_t GetSystemTimeAsTicks() noexcept {
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    return win32::TicksOf(now);
}

void Sleep(std::uint32_t milliseconds) noexcept {
    ::Sleep(milliseconds);
}

}  // namespace platform
