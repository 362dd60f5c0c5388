// The statistical test for Unicode text that names and lines have to pass. Windows has a test
// of its own, which is not asked: both systems write the same files from one catalogue.
//
// Text passes when it is not empty and
//   - is well-formed UTF-16 without noncharacters (the byte-order mark turned round is one)
//     and without NUL, LF and CR, which would break a line of text;
//   - does not read as eight-bit text taken for UTF-16: two of its bytes in each unit.
//
// Eight-bit text has no NUL bytes, and its bytes are letters, digits and punctuation. Each
// unit is weighed by how much more often eight-bit names give it than Chinese and Japanese
// names do, in bits: 4 for two small ASCII letters, 8 for an unusual ideograph out of two
// other name characters, 4 for two letters of an eight-bit Cyrillic or Greek page, 0 for
// kana and small symbols, -16 for anything that eight-bit text cannot give. (A last unit
// of plain ASCII counts 0: text of an odd length ends so.) Three units or more that weigh
// 8 bits together fail.
//
// The price: of Chinese names without any ASCII character and three units long about one
// in 2000 drawn at random fails, of longer ones far fewer; one or two units always pass,
// and so does everything with a few ASCII characters in it, whole lines above all. Eight-bit
// names of digits and capitals only may pass.
#pragma once

#include <cstddef>

namespace text {

// `units` may lie at any address; `count` is in code units.
bool LooksLikeUtf16Text(const std::byte* units, std::size_t count) noexcept;

// What a piece of a text adds to the verdict on the whole. Pieces must begin and end with
// whole characters; the surveys of all pieces, added, are the survey of the text.
struct TextStatistics {
    bool sound = true;         // well-formed, without what text may not hold
    std::size_t units = 0;     // code units
    std::size_t eightBit = 0;  // units that eight-bit text may give; meaningless if not sound

    TextStatistics& operator+=(const TextStatistics& piece) noexcept {
        sound = sound && piece.sound;
        units += piece.units;
        eightBit += piece.eightBit;
        return *this;
    }
    // The text passes, whatever its units weigh: a unit weighs 8 bits at most and one that
    // eight-bit text cannot give -16. (The last unit may count for neither.)
    bool Passes() const noexcept { return sound && eightBit + 1 < 2 * (units - eightBit); }
};
TextStatistics CollectTextStatistics(const std::byte* units, std::size_t count) noexcept;

// The same verdict as LooksLikeUtf16Text, one unit at a time.
bool LooksLikeUtf16TextScalar(const std::byte* units, std::size_t count) noexcept;

}  // namespace text
