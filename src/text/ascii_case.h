// Folding of ASCII letters: A-Z become a-z, every other code unit is unchanged. All
// case-insensitive comparisons of names use it.
#pragma once

#include <string>
#include <string_view>

namespace text {

constexpr char16_t ToLowerAscii(char16_t c) noexcept {
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}
std::u16string ToLowerAscii(std::u16string_view text);

// Three-way comparison by folded code units; a prefix comes before the longer text.
int CompareNoCase(std::u16string_view a, std::u16string_view b) noexcept;
bool EqualsNoCase(std::u16string_view a, std::u16string_view b) noexcept;
bool StartsWithNoCase(std::u16string_view text, std::u16string_view prefix) noexcept;
bool EndsWithNoCase(std::u16string_view text, std::u16string_view suffix) noexcept;

}  // namespace text
