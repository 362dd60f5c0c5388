// Conversions between char16_t and wchar_t text, which have the same representation. No other
// file converts between the two types.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace platform::win32 {

static_assert(sizeof(wchar_t) == sizeof(char16_t) && alignof(wchar_t) == alignof(char16_t));

inline const wchar_t* Wide(const char16_t* text) noexcept {
    return reinterpret_cast<const wchar_t*>(text);
}
inline wchar_t* Wide(char16_t* text) noexcept {
    return reinterpret_cast<wchar_t*>(text);
}
// Zero-terminated text of the system.
inline std::u16string_view Units(const wchar_t* text) noexcept {
    return reinterpret_cast<const char16_t*>(text);
}

}  // namespace platform::win32
