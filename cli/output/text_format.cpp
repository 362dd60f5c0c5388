#include "cli/output/text_format.h"

#include <cstdio>

#include "ZorelText.h"

namespace zorel::cli {

std::string Printable(std::u16string_view text) {
    std::string out;
    std::size_t copied = 0;  // units
    for (std::size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] >= 0x20 && (text[i] < 0x7F || text[i] >= 0xA0)) {
            continue;
        }
        out += ToUtf8(text.substr(copied, i - copied));
        if (i < text.size()) {
            char escape[8];
            static_cast<void>(
                std::snprintf(escape, sizeof(escape), "\\x%02X", static_cast<unsigned>(text[i])));
            out += escape;
        }
        copied = i + 1;
    }
    return out;
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

std::string HumanSize(std::int64_t bytes) {
    constexpr std::string_view kUnits = "KMGTPE";
    if (bytes < 1024) {
        return std::to_string(bytes);
    }
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (value /= 1024; value >= 1023.95 && unit + 1 < kUnits.size(); ++unit) {
        value /= 1024;
    }
    char text[32];
    static_cast<void>(std::snprintf(text, sizeof(text), "%.1f%c", value, kUnits[unit]));
    return text;
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
