#include "automation/guid.h"

#include "text/ascii_case.h"

namespace automation {

namespace {

constexpr std::size_t kTextLength = 36;

constexpr bool IsDashPosition(std::size_t i) {
    return i == 8 || i == 13 || i == 18 || i == 23;
}

// The value of a hexadecimal digit, -1 for anything else.
constexpr int DigitValue(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') {
        return unit - u'0';
    }
    const char16_t lower = text::ToLowerAscii(unit);
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

// The 16 bytes in the order of the text.
struct TextBytes {
    std::uint8_t bytes[16];
};

TextBytes BytesOf(const GUID& guid) {
    const auto byteOf = [](std::uint32_t value, int shift) {
        return static_cast<std::uint8_t>(value >> shift);
    };
    TextBytes text{{byteOf(guid.Data1, 24), byteOf(guid.Data1, 16), byteOf(guid.Data1, 8),
                    byteOf(guid.Data1, 0), byteOf(guid.Data2, 8), byteOf(guid.Data2, 0),
                    byteOf(guid.Data3, 8), byteOf(guid.Data3, 0)}};
    for (std::size_t i = 0; i < 8; ++i) {
        text.bytes[8 + i] = guid.Data4[i];
    }
    return text;
}

GUID GuidOf(const TextBytes& text) {
    const auto at = [&](std::size_t i) { return std::uint32_t{text.bytes[i]}; };
    GUID guid{};
    guid.Data1 = at(0) << 24 | at(1) << 16 | at(2) << 8 | at(3);
    guid.Data2 = static_cast<std::uint16_t>(at(4) << 8 | at(5));
    guid.Data3 = static_cast<std::uint16_t>(at(6) << 8 | at(7));
    for (std::size_t i = 0; i < 8; ++i) {
        guid.Data4[i] = text.bytes[8 + i];
    }
    return guid;
}

}  // namespace

std::u16string UuidToString(const GUID& guid) {
    constexpr char16_t kDigits[] = u"0123456789abcdef";
    std::u16string text;
    text.reserve(kTextLength);
    for (const std::uint8_t byte : BytesOf(guid).bytes) {
        if (IsDashPosition(text.size())) {
            text.push_back(u'-');
        }
        text.push_back(kDigits[byte >> 4]);
        text.push_back(kDigits[byte & 15]);
    }
    return text;
}

std::uint32_t UuidFromString(std::u16string_view text, GUID& guid) {
    if (text.size() != kTextLength) {
        return kRpcInvalidStringUuid;
    }
    TextBytes parsed{};
    std::size_t digits = 0;
    for (std::size_t i = 0; i < kTextLength; ++i) {
        if (IsDashPosition(i)) {
            if (text[i] != u'-') {
                return kRpcInvalidStringUuid;
            }
            continue;
        }
        const int value = DigitValue(text[i]);
        if (value < 0) {
            return kRpcInvalidStringUuid;
        }
        std::uint8_t& byte = parsed.bytes[digits++ / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | value);
    }
    guid = GuidOf(parsed);
    return kRpcStatusOk;
}

}  // namespace automation
