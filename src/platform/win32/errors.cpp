#include "platform/errors.h"

#include "platform/unique_resource.h"
#include "platform/win32/call.h"
#include "platform/win32/wide.h"

namespace platform {

namespace {

struct LocalTextTraits {
    using Value = wchar_t*;
    static Value Empty() noexcept { return nullptr; }
    static void Release(Value value) noexcept { ::LocalFree(value); }
};

}  // namespace

std::uint32_t GetLastError() noexcept {
    return ::GetLastError();
}

void SetLastError(std::uint32_t code) noexcept {
    ::SetLastError(code);
}

std::u16string SystemMessage(std::uint32_t code) {
    constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ALLOCATE_BUFFER;
    const DWORD before = ::GetLastError();
    CUniqueResource<LocalTextTraits> text;
    // With FORMAT_MESSAGE_ALLOCATE_BUFFER the parameter is the address of the pointer.
    ::FormatMessageW(kFlags, nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                     reinterpret_cast<wchar_t*>(text.Put()), 0, nullptr);
    std::u16string message(text ? win32::Units(text.Get()) : std::u16string_view());
    text.Reset();
    ::SetLastError(before);
    return message;
}

}  // namespace platform
