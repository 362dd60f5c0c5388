#include "platform/win32/call.h"

#include "platform/errors.h"

namespace platform::win32 {

namespace {

constexpr std::u16string_view kLongPrefix = u"\\\\?\\";
constexpr std::u16string_view kLongNetworkPrefix = u"\\\\?\\UNC\\";
constexpr std::u16string_view kDevicePrefix = u"\\\\.\\";  // of devices such as NUL

}  // namespace

bool Fail(std::uint32_t code) noexcept {
    ::SetLastError(code);
    return false;
}

std::optional<std::u16string> NativePath(std::u16string_view path) {
    if (path.find(u'\0') != std::u16string_view::npos) {
        Fail(win32err::kInvalidName);
        return std::nullopt;
    }
    std::u16string native(path);
    const auto getFullPath = [&](wchar_t* buffer, DWORD size) {
        return ::GetFullPathNameW(Wide(native.c_str()), size, buffer, nullptr);
    };
    std::u16string full;
    // A path that has no full form is passed on: the system call reports why.
    if (path.empty() || path.starts_with(kLongPrefix) || !FetchText(full, getFullPath) ||
        full.empty()) {
        return native;
    }
    if (full.starts_with(kLongPrefix) || full.starts_with(kDevicePrefix)) {
        return full;
    }
    if (full.starts_with(u"\\\\")) {
        return full.replace(0, 2, kLongNetworkPrefix);
    }
    return full.insert(0, kLongPrefix);
}

}  // namespace platform::win32
