// A plain model of the statistical test for Unicode text.
#pragma once

#include <string_view>

namespace support {

// The weight of one code unit as evidence for eight-bit text, in bits.
inline int EightBitWeight(char16_t unit, bool isLast) {
    const int first = unit & 0xFF;
    const int second = unit >> 8;
    const auto in = [](int byte, int from, int to) { return from <= byte && byte <= to; };
    if (first >= 0xC0 && second >= 0xE0) {
        return second <= 0xF8 ? 4 : 0;
    }
    if (!in(first, ' ', '~') || !in(second, ' ', '~')) {
        return isLast && second == 0 && in(first, ' ', '~') ? 0 : -16;
    }
    if (in(second, 'a', 'z')) {
        return in(first, 'a', 'z') ? 4 : in(first, 'A', 'Z') ? 0 : in(first, '0', '9') ? -1 : 1;
    }
    if (second >= 0x4E) {
        return second == '_' && in(first, 'a', 'z') ? 1 : -2;
    }
    if (second >= 0x34 || second == '.') {
        return 8;
    }
    return in(first, '0', '9') && (second == '0' || second == '2' || second == '3') ? 6 : 0;
}

inline bool IsUnicodeText(std::u16string_view text) {
    int weight = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        weight += EightBitWeight(text[i], i + 1 == text.size());
        char32_t character = text[i];
        if (character >= 0xD800 && character <= 0xDFFF) {
            const char32_t low = i + 1 < text.size() ? text[i + 1] : 0;
            if (character >= 0xDC00 || low < 0xDC00 || low > 0xDFFF) {
                return false;
            }
            ++i;
            weight += EightBitWeight(text[i], i + 1 == text.size());
            character = 0x10000 + (character - 0xD800) * 0x400 + (low - 0xDC00);
        }
        if (character % 0x10000 >= 0xFFFE || (character >= 0xFDD0 && character <= 0xFDEF) ||
            character == 0 || character == '\n' || character == '\r') {
            return false;
        }
    }
    return !text.empty() && (text.size() < 3 || weight < 8);
}

}  // namespace support
