// Owners of automation strings and arrays, and conversions between strings and text.
#pragma once

#include <string_view>

#include "automation/automation.h"
#include "platform/unique_resource.h"

namespace automation {

struct BstrTraits {
    using Value = BSTR;
    static Value Empty() noexcept { return nullptr; }
    static void Release(Value value) noexcept { ::SysFreeString(value); }
};
using CBstr = platform::CUniqueResource<BstrTraits>;

struct SafeArrayTraits {
    using Value = SAFEARRAY*;
    static Value Empty() noexcept { return nullptr; }
    static void Release(Value value) noexcept { ::SafeArrayDestroy(value); }
};
using CSafeArrayPtr = platform::CUniqueResource<SafeArrayTraits>;

// The string up to its first NUL, because arguments are read as zero-terminated text. A null
// string is empty. The view is valid as long as the string.
std::u16string_view TextOf(BSTR text) noexcept;

// A new string that the caller owns, never null. Embedded NULs are kept. Throws
// std::bad_alloc.
BSTR NewBstr(std::u16string_view text);

}  // namespace automation
