// Fast searches in UTF-16 text that may lie at an odd address.
#pragma once

#include <cstddef>
#include <cstdint>

namespace text {

// A test of one code unit: passes when the unit with the bits of `mask` set equals `value`.
// A mask of 0x20 makes one test of both cases of an ASCII letter, 0xFFFF passes everything.
struct CUnitTest {
    std::uint16_t mask = 0;
    std::uint16_t value = 0;

    bool Passes(char16_t unit) const noexcept { return (unit | mask) == value; }
};

// The first i below `starts` where unit i passes `first` and unit i + distance passes
// `last`; `starts` when there is none. `units` holds starts + distance units.
std::size_t FindUnitPair(const std::byte* units, std::size_t starts, CUnitTest first,
                         CUnitTest last, std::size_t distance) noexcept;

// The same, one unit at a time.
std::size_t FindUnitPairScalar(const std::byte* units, std::size_t starts, CUnitTest first,
                               CUnitTest last, std::size_t distance) noexcept;

}  // namespace text
