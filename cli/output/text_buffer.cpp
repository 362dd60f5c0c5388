#include "cli/output/text_buffer.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <utility>

#include "ZorelText.h"

namespace zorel::cli {

namespace {

constexpr std::size_t kMaxBytesPerUnit = 6;  // an escape: \u202E

// The letter after the backslash of a JSON escape: 0 for none, 'u' for the long form.
constexpr char JsonEscapeOf(char16_t unit) {
    switch (unit) {
        case u'\b':
            return 'b';
        case u'\t':
            return 't';
        case u'\n':
            return 'n';
        case u'\f':
            return 'f';
        case u'\r':
            return 'r';
        case u'"':
        case u'\\':
            return static_cast<char>(unit);
        default:
            return unit < 0x20 ? 'u' : '\0';
    }
}

bool IsControl(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

// Characters that change the direction of the text after them.
bool IsDirection(char32_t c) {
    return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) || c == 0x200E ||
           c == 0x200F || c == 0x061C;
}

char* PutHex(char* to, char32_t value, int digits, const char* alphabet) {
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
        *to++ = alphabet[(value >> shift) & 0xF];
    }
    return to;
}

char* PutUtf8(char* to, char32_t c) {
    const auto put = [&](char32_t byte) { *to++ = static_cast<char>(byte); };
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
    return to;
}

// A lone surrogate U+DC80 to U+DCFF is a byte that is not UTF-8.
char* PutText(char* to, char32_t c) {
    if (c >= 0xDC80 && c <= 0xDCFF) {
        *to = static_cast<char>(c - 0xDC00);
        return to + 1;
    }
    return PutUtf8(to, c);
}

// The next code point of `text`, which is not empty; a lone surrogate as it is.
char32_t TakeCodePoint(std::u16string_view& text) {
    const char32_t unit = text[0];
    if (detail::IsHighSurrogate(unit) && text.size() > 1 && detail::IsLowSurrogate(text[1])) {
        const char32_t low = text[1];
        text.remove_prefix(2);
        return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    text.remove_prefix(1);
    return unit;
}

// Eight code units that are tested and copied together.
constexpr std::size_t kGroup = 8;
using Units [[gnu::vector_size(2 * kGroup)]] = std::uint16_t;
using Bytes [[gnu::vector_size(kGroup)]] = std::uint8_t;
using Halves [[gnu::vector_size(2 * kGroup)]] = std::uint64_t;
static_assert(std::endian::native == std::endian::little);

// The tests return a lane of ones for each unit that is not copied as it is.
//
// AppendPrintable copies printable ASCII characters.
struct PrintableTest {
    static Units Special(Units units) { return Units(units - 0x20 > 0x7E - 0x20); }
};

// A JSON string contains ASCII as it is, except for control characters, quotes and backslashes.
struct JsonTest {
    static Units Special(Units units) {
        return Units(units - 0x20 >= 0x80 - 0x20) | Units(units == u'"') | Units(units == u'\\');
    }
};

std::size_t CountLeading(std::uint64_t lanes) {
    return static_cast<std::size_t>(std::countr_zero(lanes)) / 16;
}

// The number of units before the first one that is special.
template <class Test>
std::size_t CountPlain(Units units) {
    const auto special = Halves(Test::Special(units));
    return special[0] != 0 ? CountLeading(special[0]) : kGroup / 2 + CountLeading(special[1]);
}

// Copies units to `to` as bytes up to the first one that is special, and removes them from
// `text`. There is room for kGroup bytes more. Returns the end of the copy.
template <class Test>
char* CopyPlain(std::u16string_view& text, char* to) {
    Units units;
    while (text.size() >= kGroup) {
        std::memcpy(&units, text.data(), sizeof units);
        const Bytes bytes = __builtin_convertvector(units, Bytes);
        std::memcpy(to, &bytes, sizeof bytes);
        const std::size_t count = CountPlain<Test>(units);
        text.remove_prefix(count);
        to += count;
        if (count < kGroup) {
            return to;
        }
    }
    for (; !text.empty(); text.remove_prefix(1)) {
        units = Units{} + text[0];
        if (CountPlain<Test>(units) == 0) {
            break;
        }
        *to++ = static_cast<char>(text[0]);
    }
    return to;
}

}  // namespace

void CTextBuffer::Swap(CTextBuffer& other) noexcept {
    m_bytes.swap(other.m_bytes);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
}

char* CTextBuffer::Reserve(std::size_t bytes) {
    if (bytes > m_capacity - m_size) {
        const std::size_t capacity = std::max(m_size + bytes, 2 * m_capacity + 256);
        std::unique_ptr<char[]> larger(new char[capacity]);
        std::copy_n(m_bytes.get(), m_size, larger.get());
        m_bytes = std::move(larger);
        m_capacity = capacity;
    }
    return m_bytes.get() + m_size;
}

void CTextBuffer::Append(std::string_view text) {
    std::copy(text.begin(), text.end(), Reserve(text.size()));
    m_size += text.size();
}

void CTextBuffer::AppendNumber(std::int64_t value) {
    constexpr std::size_t kMaxDigits = 20;
    char* const start = Reserve(kMaxDigits);
    m_size += static_cast<std::size_t>(std::to_chars(start, start + kMaxDigits, value).ptr - start);
}

void CTextBuffer::AppendBlanks(std::size_t count) {
    std::fill_n(Reserve(count), count, ' ');
    m_size += count;
}

void CTextBuffer::AppendAgain(std::size_t offset, std::size_t size) {
    char* const to = Reserve(size);
    std::copy_n(m_bytes.get() + offset, size, to);
    m_size += size;
}

void CTextBuffer::AppendText(std::u16string_view text) {
    char* const start = Reserve(kMaxBytesPerUnit * text.size() + kGroup);
    char* to = start;
    while (to = CopyPlain<PrintableTest>(text, to), !text.empty()) {
        to = PutText(to, TakeCodePoint(text));
    }
    m_size += static_cast<std::size_t>(to - start);
}

std::size_t CTextBuffer::AppendPrintable(std::u16string_view text) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    char* const start = Reserve(kMaxBytesPerUnit * text.size() + kGroup);
    char* to = start;
    std::size_t columnsBeyond = 0;  // columns less bytes
    while (to = CopyPlain<PrintableTest>(text, to), !text.empty()) {
        const char32_t c = TakeCodePoint(text);
        const char* const from = to;
        if (IsControl(c) || IsDirection(c)) {
            *to++ = '\\';
            *to++ = c < 0x100 ? 'x' : 'u';
            to = PutHex(to, c, c < 0x100 ? 2 : 4, kDigits);
        } else {
            to = PutText(to, c);
            columnsBeyond += 1 - static_cast<std::size_t>(to - from);
        }
    }
    const auto bytes = static_cast<std::size_t>(to - start);
    m_size += bytes;
    return bytes + columnsBeyond;
}

void CTextBuffer::AppendJson(std::u16string_view text) {
    constexpr const char* kDigits = "0123456789abcdef";
    char* const start = Reserve(kMaxBytesPerUnit * text.size() + kGroup);
    char* to = start;
    while (to = CopyPlain<JsonTest>(text, to), !text.empty()) {
        const char32_t c = TakeCodePoint(text);
        const char escape = c < 0x80 ? JsonEscapeOf(static_cast<char16_t>(c)) : '\0';
        if (escape != '\0' && escape != 'u') {
            *to++ = '\\';
            *to++ = escape;
        } else if (escape == 'u' || (c >= 0xD800 && c <= 0xDFFF)) {
            *to++ = '\\';
            *to++ = 'u';
            to = PutHex(to, c, 4, kDigits);
        } else {
            to = PutUtf8(to, c);
        }
    }
    m_size += static_cast<std::size_t>(to - start);
}

}  // namespace zorel::cli
