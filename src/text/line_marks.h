// Finds the code units that separate lines and folders in UTF-16 text.
#pragma once

#include <cstddef>
#include <cstdint>

namespace text {

// The positions of these units in kUnits code units: bit i is unit i.
struct LineMarks {
    static constexpr std::size_t kUnits = 64;

    std::uint64_t lineFeeds;
    std::uint64_t backslashes;
    std::uint64_t dropped;  // CR and U+FEFF
};

// Marks `count` units at any alignment. `marks` has one entry for each kUnits units, rounded
// up; bits after the last unit are 0.
void MarkLines(const std::byte* units, std::size_t count, LineMarks* marks) noexcept;

}  // namespace text
