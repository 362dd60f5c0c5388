// Text packed into one byte for each code unit, for fast searches.
#pragma once

#include <cstddef>

namespace text {

// Separates packed texts; no unit has this byte.
inline constexpr std::byte kPackedSeparator{0xFF};

// The byte of one unit: ASCII units are folded, all other units share the bytes 0x80 to 0xFE.
// Units with equal ASCII bytes differ at most in letter case; units with equal other bytes
// may differ.
std::byte PackUnit(char16_t unit) noexcept;

// Packs `count` units at any alignment into as many bytes.
void PackUnits(const std::byte* units, std::size_t count, std::byte* packed) noexcept;

// The first i below `starts` where byte i is `first` and byte i + distance is `last`;
// `starts` when there is none. `bytes` holds starts + distance bytes.
std::size_t FindBytePair(const std::byte* bytes, std::size_t starts, std::byte first,
                         std::byte last, std::size_t distance) noexcept;

}  // namespace text
