#include "text/ascii_case.h"

#include <algorithm>

namespace text {

std::u16string ToLowerAscii(std::u16string_view text) {
    std::u16string out(text);
    for (char16_t& c : out) {
        c = ToLowerAscii(c);
    }
    return out;
}

int CompareNoCase(std::u16string_view a, std::u16string_view b) noexcept {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const char16_t x = ToLowerAscii(a[i]);
        const char16_t y = ToLowerAscii(b[i]);
        if (x != y) {
            return x < y ? -1 : 1;
        }
    }
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

bool EqualsNoCase(std::u16string_view a, std::u16string_view b) noexcept {
    return a.size() == b.size() && StartsWithNoCase(a, b);
}

bool StartsWithNoCase(std::u16string_view text, std::u16string_view prefix) noexcept {
    if (text.size() < prefix.size()) {
        return false;
    }
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (ToLowerAscii(text[i]) != ToLowerAscii(prefix[i])) {
            return false;
        }
    }
    return true;
}

bool EndsWithNoCase(std::u16string_view text, std::u16string_view suffix) noexcept {
    return text.size() >= suffix.size() &&
           StartsWithNoCase(text.substr(text.size() - suffix.size()), suffix);
}

}  // namespace text
