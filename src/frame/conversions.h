// Conversions used by all layers: numbers, GUIDs and 8-bit text to and from UTF-16 text, and
// trimming. Formats and error messages are fixed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "automation/guid.h"

namespace frame {

// Signed and unsigned decimal, no padding.
std::u16string IntToString(std::int32_t value);
std::u16string UInt64ToString(std::uint64_t value);
std::u16string Int64ToString(std::int64_t value);
// "0x" and lower-case digits: no padding, or exactly eight digits.
std::u16string UIntToHexString(std::uint32_t value);
std::u16string UIntToHexString8(std::uint32_t value);
std::u16string UInt64ToHexString(std::uint64_t value);
std::u16string BoolToString(bool value);

// A decimal number at the start of a text, parsed like strtoll: leading white space, a sign,
// digits. `length` counts all of these; it is 0 if there is no digit.
struct DecimalPrefix {
    std::size_t length = 0;
    std::uint64_t magnitude = 0;  // the largest value if the number is out of range
    bool negative = false;
};
DecimalPrefix ReadDecimalPrefix(std::u16string_view text) noexcept;
// The number, clamped to the range of the type.
std::int32_t ClampToInt32(const DecimalPrefix& number) noexcept;
std::int64_t ClampToInt64(const DecimalPrefix& number) noexcept;

// Parse a leading decimal number, clamped to the range of the type; the rest of the text is
// ignored. Throw CExc (E_FAIL) with the whole text if there is no digit.
std::int32_t StringToInt(std::u16string_view text);
std::uint32_t StringToUInt(std::u16string_view text);

// Lower case; 36 characters, or 38 with braces.
std::u16string GuidToString(const GUID& guid, bool withBraces);
// Each brace is optional on its own. Throws CWin32Exc (1705) with the text.
GUID StringToGuid(std::u16string_view text);

// The thread's ANSI code page on Windows, UTF-8 on Linux.
std::u16string AnsiToWide(std::string_view text);
std::string WideToAnsi(std::u16string_view text);

// Blanks are the space and the tab.
std::u16string_view TrimLeft(std::u16string_view text) noexcept;
std::u16string_view TrimRight(std::u16string_view text) noexcept;
std::u16string_view Trim(std::u16string_view text) noexcept;

}  // namespace frame
