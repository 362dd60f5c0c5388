#include "frame/conversions.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "frame/errors.h"
#include "platform/system.h"

namespace frame {

namespace {

constexpr std::uint64_t kMagnitudeLimit = std::numeric_limits<std::uint64_t>::max();

template <class Number>
std::u16string Digits(Number value, int base) {
    char buffer[24];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, base).ptr;
    return std::u16string(buffer, end);
}

bool IsSpace(char16_t c) {
    return c == u' ' || (c >= u'\t' && c <= u'\r');
}
bool IsDigit(char16_t c) {
    return c >= u'0' && c <= u'9';
}
bool IsBlank(char16_t c) {
    return c == u' ' || c == u'\t';
}

template <class Signed>
Signed Clamp(const DecimalPrefix& number) {
    constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<Signed>::max());
    if (number.negative) {
        return number.magnitude > kMax
                   ? std::numeric_limits<Signed>::min()
                   : static_cast<Signed>(-static_cast<Signed>(number.magnitude));
    }
    return static_cast<Signed>(std::min(number.magnitude, kMax));
}

}  // namespace

std::u16string IntToString(std::int32_t value) {
    return Digits(value, 10);
}
std::u16string UInt64ToString(std::uint64_t value) {
    return Digits(value, 10);
}
std::u16string Int64ToString(std::int64_t value) {
    return Digits(value, 10);
}
std::u16string UIntToHexString(std::uint32_t value) {
    return u"0x" + Digits(value, 16);
}
std::u16string UInt64ToHexString(std::uint64_t value) {
    return u"0x" + Digits(value, 16);
}

std::u16string UIntToHexString8(std::uint32_t value) {
    const std::u16string digits = Digits(value, 16);
    return u"0x" + std::u16string(8 - digits.size(), u'0') + digits;
}

std::u16string BoolToString(bool value) {
    return value ? u"true" : u"false";
}

DecimalPrefix ReadDecimalPrefix(std::u16string_view text) noexcept {
    DecimalPrefix result;
    std::size_t pos = 0;
    while (pos < text.size() && IsSpace(text[pos])) {
        ++pos;
    }
    if (pos < text.size() && (text[pos] == u'+' || text[pos] == u'-')) {
        result.negative = text[pos++] == u'-';
    }
    for (; pos < text.size() && IsDigit(text[pos]); ++pos) {
        const auto digit = static_cast<std::uint64_t>(text[pos] - u'0');
        const bool fits = result.magnitude <= (kMagnitudeLimit - digit) / 10;
        result.magnitude = fits ? result.magnitude * 10 + digit : kMagnitudeLimit;
        result.length = pos + 1;
    }
    return result;
}

std::int32_t ClampToInt32(const DecimalPrefix& number) noexcept {
    return Clamp<std::int32_t>(number);
}

std::int64_t ClampToInt64(const DecimalPrefix& number) noexcept {
    return Clamp<std::int64_t>(number);
}

std::int32_t StringToInt(std::u16string_view text) {
    const DecimalPrefix number = ReadDecimalPrefix(text);
    if (number.length == 0) {
        throw CExc(u"Cannot unserialize a string value to integer. String: [%1].", {text}, kFail);
    }
    return ClampToInt32(number);
}

std::uint32_t StringToUInt(std::u16string_view text) {
    const DecimalPrefix number = ReadDecimalPrefix(text);
    if (number.length == 0) {
        throw CExc(u"Cannot unserialize a string value to unsigned integer. String: [%1].", {text},
                   kFail);
    }
    constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
    if (number.magnitude > kMax) {
        return kMax;
    }
    const auto value = static_cast<std::uint32_t>(number.magnitude);
    return number.negative ? 0U - value : value;
}

std::u16string GuidToString(const GUID& guid, bool withBraces) {
    std::u16string text = automation::UuidToString(guid);
    return withBraces && !text.empty() ? u"{" + text + u"}" : text;
}

GUID StringToGuid(std::u16string_view text) {
    std::u16string_view digits = text;
    if (digits.size() >= 2) {
        if (digits.front() == u'{') {
            digits.remove_prefix(1);
        }
        if (digits.back() == u'}') {
            digits.remove_suffix(1);
        }
    }
    GUID guid{};
    const std::uint32_t status = automation::UuidFromString(digits, guid);
    if (status != automation::kRpcStatusOk) {
        throw CWin32Exc(u"Cannot convert string to GUID. String: [%1].", {text}, status);
    }
    return guid;
}

std::u16string AnsiToWide(std::string_view text) {
    return platform::NarrowToWide(text);
}
std::string WideToAnsi(std::u16string_view text) {
    return platform::WideToNarrow(text);
}

std::u16string_view TrimLeft(std::u16string_view text) noexcept {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

std::u16string_view TrimRight(std::u16string_view text) noexcept {
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::u16string_view Trim(std::u16string_view text) noexcept {
    return TrimLeft(TrimRight(text));
}

}  // namespace frame
