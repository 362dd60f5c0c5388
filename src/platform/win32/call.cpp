#include "platform/win32/call.h"

#include "platform/errors.h"

namespace platform::win32 {

bool Fail(std::uint32_t code) noexcept {
    ::SetLastError(code);
    return false;
}

std::optional<std::u16string> NativePath(std::u16string_view path) {
    if (path.find(u'\0') != std::u16string_view::npos) {
        Fail(win32err::kInvalidName);
        return std::nullopt;
    }
    return std::u16string(path);
}

}  // namespace platform::win32
