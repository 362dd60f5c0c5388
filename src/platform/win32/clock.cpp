#include <windows.h>

#include "platform/times.h"

namespace platform {

SystemTime GetLocalTime() noexcept {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    return {now.wYear, now.wMonth,  now.wDayOfWeek, now.wDay,
            now.wHour, now.wMinute, now.wSecond,    now.wMilliseconds};
}

void Sleep(std::uint32_t milliseconds) noexcept {
    ::Sleep(milliseconds);
}

}  // namespace platform
