// How sizes, times and names look to people.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ZorelAutomation.h"

namespace zorel::tools {

// For a terminal: control characters as \xHH, everything else as it is.
std::string Printable(std::u16string_view text);

// With A-Z in lower case, as names are compared that differ in nothing else.
std::u16string Folded(std::u16string text);

// 1536 gives "1.5K"; below 1024 the number itself.
std::string HumanSize(std::int64_t bytes);

// "2024-03-01", `separator`, "12:34:56"; nothing for a date outside the calendar.
std::optional<std::string> FormatDate(DATE date, std::string_view separator);

// Columns taken on a terminal, counting one for each code point.
std::size_t DisplayWidth(std::string_view text);
std::string PadLeft(const std::string& text, std::size_t width);
std::string PadRight(const std::string& text, std::size_t width);

// "1 file", "2 files".
std::string Counted(std::uint64_t count, std::string_view noun);

}  // namespace zorel::tools
