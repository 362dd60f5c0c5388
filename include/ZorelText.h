// Conversion between UTF-16 text (interfaces, catalogues) and the 8-bit text of the system
// (paths, command lines, logs), for the library and for its clients.
//
// The 8-bit form is UTF-8. Both conversions accept every input. Well-formed text converts in
// both directions without a change, and every byte string converts to UTF-16 and back without
// a change: a byte that is not part of a valid sequence becomes U+DC80..U+DCFF, any other lone
// surrogate becomes the three bytes of its code point.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zorel {

namespace detail {

inline bool IsHighSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}
inline bool IsLowSurrogate(char32_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

struct DecodedUnit {
    char32_t value;  // a scalar value, a surrogate, or U+DC80..U+DCFF for an invalid byte
    std::size_t length;
};

// Decodes the sequence at `pos`, which must be less than the size of `text`.
inline DecodedUnit DecodeSequence(std::string_view text, std::size_t pos) {
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byteAt(pos);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const DecodedUnit invalid{0xDC00U + lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() - pos < length) {
        return invalid;
    }
    char32_t value = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(pos + i) & 0xC0U) != 0x80U) {
            return invalid;
        }
        value = (value << 6) | (byteAt(pos + i) & 0x3FU);
    }
    constexpr char32_t kMinValue[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < kMinValue[length] || value > 0x10FFFF) {
        return invalid;
    }
    // ToUtf8 converts these values to one byte, so each of the three bytes is an invalid byte.
    return value >= 0xDC80 && value <= 0xDCFF ? invalid : DecodedUnit{value, length};
}

// Appends a lone low surrogate. High surrogates directly before it would form a pair with it
// and convert back to other bytes, so they are replaced by their three bytes as invalid bytes.
inline void AppendLowSurrogate(std::u16string& out, char32_t low) {
    std::size_t keep = out.size();
    while (keep > 0 && IsHighSurrogate(out[keep - 1])) {
        --keep;
    }
    const std::u16string highs = out.substr(keep);
    out.resize(keep);
    for (const char16_t high : highs) {
        out.push_back(static_cast<char16_t>(0xDC00 | 0xE0 | (high >> 12)));
        out.push_back(static_cast<char16_t>(0xDC00 | 0x80 | ((high >> 6) & 0x3F)));
        out.push_back(static_cast<char16_t>(0xDC00 | 0x80 | (high & 0x3F)));
    }
    out.push_back(static_cast<char16_t>(low));
}

inline void AppendUtf8(std::string& out, char32_t c) {
    const auto put = [&](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | (c >> 6));
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | (c >> 12));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

}  // namespace detail

// The 8-bit form of `text`.
inline std::string ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char32_t unit = text[i];
        if (detail::IsHighSurrogate(unit) && i + 1 < text.size() &&
            detail::IsLowSurrogate(text[i + 1])) {
            detail::AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (text[i + 1] - 0xDC00U));
            ++i;
        } else if (unit >= 0xDC80 && unit <= 0xDCFF) {
            out.push_back(static_cast<char>(unit - 0xDC00));
        } else {
            detail::AppendUtf8(out, unit);
        }
    }
    return out;
}

// The UTF-16 form of `text`; at most one code unit for each byte.
inline std::u16string ToUtf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const detail::DecodedUnit unit = detail::DecodeSequence(text, i);
        i += unit.length;
        if (detail::IsLowSurrogate(unit.value)) {
            detail::AppendLowSurrogate(out, unit.value);
        } else if (unit.value < 0x10000) {
            out.push_back(static_cast<char16_t>(unit.value));
        } else {
            out.push_back(static_cast<char16_t>(0xD800 + ((unit.value - 0x10000) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + ((unit.value - 0x10000) & 0x3FF)));
        }
    }
    return out;
}

}  // namespace zorel
