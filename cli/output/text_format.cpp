#include "cli/output/text_format.h"

#include <charconv>

#include "cli/output/text_buffer.h"

namespace zorel::cli {

std::string Printable(std::u16string_view text) {
    CTextBuffer out;
    out.AppendPrintable(text);
    return std::string(out.View());
}

namespace {

// Moves the letters `first` to `first` + 25 by `offset`.
std::u16string MapLetters(std::u16string_view text, char16_t first, int offset) {
    std::u16string out(text);
    for (char16_t& unit : out) {
        if (unit >= first && unit < first + 26) {
            unit = static_cast<char16_t>(unit + offset);
        }
    }
    return out;
}

}  // namespace

std::u16string Folded(std::u16string_view text) {
    return MapLetters(text, u'A', u'a' - u'A');
}

std::u16string UpperCased(std::u16string_view text) {
    return MapLetters(text, u'a', u'A' - u'a');
}

char* PutHumanSize(char* to, std::int64_t bytes) {
    constexpr std::string_view kUnits = "KMGTPE";
    char* const end = to + kMaxHumanSize;
    if (bytes < 1024) {
        return std::to_chars(to, end, bytes).ptr;
    }
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (value /= 1024; value >= 1023.95 && unit + 1 < kUnits.size(); ++unit) {
        value /= 1024;
    }
    to = std::to_chars(to, end, value, std::chars_format::fixed, 1).ptr;
    *to = kUnits[unit];
    return to + 1;
}

std::string HumanSize(std::int64_t bytes) {
    char text[kMaxHumanSize];
    return {text, PutHumanSize(text, bytes)};
}

std::string SizeText(std::int64_t bytes) {
    return std::to_string(bytes) + " bytes" + (bytes < 1024 ? "" : " (" + HumanSize(bytes) + ")");
}

std::size_t DisplayWidth(std::string_view text) {
    std::size_t width = 0;
    for (const char c : text) {
        width += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U ? 1 : 0;
    }
    return width;
}

namespace {

std::string Padding(const std::string& text, std::size_t width) {
    const std::size_t used = DisplayWidth(text);
    std::string padding;
    padding.resize(used < width ? width - used : 0, ' ');
    return padding;
}

}  // namespace

std::string PadLeft(const std::string& text, std::size_t width) {
    return Padding(text, width) + text;
}

std::string PadRight(const std::string& text, std::size_t width) {
    return text + Padding(text, width);
}

std::string Counted(std::int64_t count, std::string_view noun) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace zorel::cli
