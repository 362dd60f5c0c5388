// Text packed into one byte for each code unit, to search much of it fast.
#pragma once

#include <cstddef>

namespace text {

// Separates packed texts; no unit is packed into it.
inline constexpr std::byte kPackedSeparator{0xFF};

// The byte of one unit: A-Z become a-z, other ASCII stays, units beyond ASCII share the
// bytes 0x80 to 0xFE. So equal ASCII bytes mean units equal but for letter case; bytes
// beyond ASCII only tell that two units may be equal.
std::byte PackUnit(char16_t unit) noexcept;

// Packs `count` units, which may lie at any address, into as many bytes.
void PackUnits(const std::byte* units, std::size_t count, std::byte* packed) noexcept;

// The first i below `starts` where byte i is `first` and byte i + distance is `last`;
// `starts` when there is none. `bytes` holds starts + distance bytes.
std::size_t FindBytePair(const std::byte* bytes, std::size_t starts, std::byte first,
                         std::byte last, std::size_t distance) noexcept;

// The same, one step at a time.
void PackUnitsScalar(const std::byte* units, std::size_t count, std::byte* packed) noexcept;
std::size_t FindBytePairScalar(const std::byte* bytes, std::size_t starts, std::byte first,
                               std::byte last, std::size_t distance) noexcept;

}  // namespace text
