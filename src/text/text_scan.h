// Fast searches in UTF-16 text at any alignment.
#pragma once

#include <cstddef>
#include <cstdint>

namespace text {

// A test of one code unit: passes when the unit with the bits of `mask` set equals `value`.
// With a mask of 0x20 both cases of an ASCII letter pass; with mask and value 0xFFFF every unit
// passes.
struct CUnitTest {
    std::uint16_t mask = 0;
    std::uint16_t value = 0;

    bool Passes(char16_t unit) const noexcept { return (unit | mask) == value; }
};

// The first i below `starts` where unit i passes `first` and unit i + distance passes
// `last`; `starts` when there is none. `units` holds starts + distance units.
std::size_t FindUnitPair(const std::byte* units, std::size_t starts, CUnitTest first,
                         CUnitTest last, std::size_t distance) noexcept;

}  // namespace text
