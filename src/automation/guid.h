// GUIDs and their text, as UuidToStringW and UuidFromStringW define it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "automation/automation.h"

namespace automation {

inline constexpr std::uint32_t kRpcStatusOk = 0;
inline constexpr std::uint32_t kRpcInvalidStringUuid = 1705;

// Lower-case 8-4-4-4-12 form without braces; empty when the system call fails.
std::u16string UuidToString(const GUID& guid);

// Accepts exactly the 8-4-4-4-12 form, hexadecimal digits of either case, no braces.
// Returns kRpcStatusOk, or kRpcInvalidStringUuid with `guid` untouched.
std::uint32_t UuidFromString(std::u16string_view text, GUID& guid);

}  // namespace automation
