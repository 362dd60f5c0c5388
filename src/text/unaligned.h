// Little-endian numbers and UTF-16 code units in bytes, at any alignment.
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

namespace text {

static_assert(std::endian::native == std::endian::little, "fields are copied without conversion");

template <class Number>
Number LoadLittle(const std::byte* bytes) noexcept {
    Number value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// Code unit `i` of the text that begins at `units`.
inline char16_t LoadUnit(const std::byte* units, std::size_t i) noexcept {
    return LoadLittle<char16_t>(units + 2 * i);
}

}  // namespace text
