// Conversions between GUIDs and text, as UuidToStringW and UuidFromStringW define them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "automation/automation.h"

namespace automation {

inline constexpr std::uint32_t kRpcStatusOk = 0;
inline constexpr std::uint32_t kRpcInvalidStringUuid = 1705;

// The lower-case 8-4-4-4-12 form without braces.
std::u16string UuidToString(const GUID& guid);

// Accepts the 8-4-4-4-12 form only, with hexadecimal digits of either case and no braces.
// Returns kRpcStatusOk, or kRpcInvalidStringUuid with `guid` untouched.
std::uint32_t UuidFromString(std::u16string_view text, GUID& guid);

}  // namespace automation
