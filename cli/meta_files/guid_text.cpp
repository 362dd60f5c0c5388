#include "cli/meta_files/guid_text.h"

#include <charconv>
#include <cstdio>

namespace zorel::cli {

namespace {

// Removes `digits` hexadecimal digits, after a dash if `hasDash`, from the start of the text.
template <class Number>
bool TakeHex(std::string_view& text, std::size_t digits, bool hasDash, Number& number) {
    if (hasDash) {
        if (!text.starts_with('-')) {
            return false;
        }
        text.remove_prefix(1);
    }
    const std::string_view part = text.substr(0, digits);
    const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), number, 16);
    text.remove_prefix(part.size());
    return part.size() == digits && error == std::errc() && end == part.data() + part.size();
}

}  // namespace

std::string GuidText(const GUID& guid) {
    char text[40];
    std::snprintf(text, sizeof(text), "{%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x}",
                  static_cast<unsigned>(guid.Data1), guid.Data2, guid.Data3, guid.Data4[0],
                  guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
                  guid.Data4[6], guid.Data4[7]);
    return text;
}

std::optional<GUID> ParseGuid(std::string_view text) {
    if (text.size() >= 2 && text.front() == '{' && text.back() == '}') {
        text = text.substr(1, text.size() - 2);
    }
    GUID guid{};
    bool isValid = TakeHex(text, 8, false, guid.Data1) && TakeHex(text, 4, true, guid.Data2) &&
                   TakeHex(text, 4, true, guid.Data3);
    for (std::size_t i = 0; i < 8 && isValid; ++i) {
        isValid = TakeHex(text, 2, i == 0 || i == 2, guid.Data4[i]);
    }
    return isValid && text.empty() ? std::optional(guid) : std::nullopt;
}

}  // namespace zorel::cli
