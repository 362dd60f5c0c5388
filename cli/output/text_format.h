// Sizes, counts and names in listings.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zorel::cli {

// Replaces control characters by \xHH and characters that change the direction of text by \uHHHH.
std::string Printable(std::u16string_view text);

// Maps A-Z to a-z, as the library does to compare names.
std::u16string Folded(std::u16string_view text);
// Maps a-z to A-Z.
std::u16string UpperCased(std::u16string_view text);

// "1.5K" for 1536; a number below 1024 has no unit.
std::string HumanSize(std::int64_t bytes);
// Writes the same text to `to`, which has room for kMaxHumanSize characters; returns its end.
inline constexpr std::size_t kMaxHumanSize = 24;
char* PutHumanSize(char* to, std::int64_t bytes);
// "34 bytes", "1536 bytes (1.5K)".
std::string SizeText(std::int64_t bytes);

// Columns on a terminal: one for each code point.
std::size_t DisplayWidth(std::string_view text);
std::string PadLeft(const std::string& text, std::size_t width);
std::string PadRight(const std::string& text, std::size_t width);

// "1 file", "2 files".
std::string Counted(std::int64_t count, std::string_view noun);

}  // namespace zorel::cli
