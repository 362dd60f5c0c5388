// The statistical test for Unicode text that names and lines must pass. The test of Windows is
// not used: both systems write the same files from one catalogue.
//
// A text passes if it is not empty and
//   - is well-formed UTF-16 without noncharacters (U+FFFE is one) and without NUL, LF and CR;
//   - is not eight-bit text read as UTF-16, that is, with two characters in each unit.
//
// Eight-bit text has no NUL bytes, and its bytes are letters, digits and punctuation. Each unit
// has a weight in bits, the logarithm of how much more often it occurs in eight-bit names read
// as UTF-16 than in Chinese and Japanese names: 4 for two lower-case ASCII letters, 8 for a
// rare ideograph from two other name characters, 4 for two letters of an eight-bit Cyrillic or
// Greek code page, 0 for kana and small symbols, -16 for a unit that eight-bit text cannot
// contain. A last unit of plain ASCII has weight 0, because eight-bit text of odd length ends
// with one. A text of three units or more with a total weight of 8 bits or more fails.
//
// Errors of the test: of random Chinese names of three units without an ASCII character about
// one in 2000 fails, of longer ones far fewer. A text of one or two units and a text with a few
// ASCII characters always pass. Eight-bit names of digits and capital letters may pass.
#pragma once

#include <cstddef>

namespace text {

// `units` may have any alignment; `count` is in code units.
bool LooksLikeUtf16Text(const std::byte* units, std::size_t count) noexcept;

// The statistics of a text or a part of one. A part begins and ends between characters. The sum
// of the statistics of all parts is that of the text.
struct TextStatistics {
    bool valid = true;         // meets the first condition above, except that it may be empty
    std::size_t units = 0;     // code units
    std::size_t eightBit = 0;  // units that eight-bit text may contain; undefined if not valid

    TextStatistics& operator+=(const TextStatistics& part) noexcept {
        valid = valid && part.valid;
        units += part.units;
        eightBit += part.eightBit;
        return *this;
    }
    // Whether the text passes for any weights of its units: a unit that eight-bit text may
    // contain has at most 8 bits, any other unit has -16, and the last unit may have 0.
    bool Passes() const noexcept { return valid && eightBit + 1 < 2 * (units - eightBit); }
};
TextStatistics CollectTextStatistics(const std::byte* units, std::size_t count) noexcept;

}  // namespace text
