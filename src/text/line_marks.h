// Marks the units that matter for cutting UTF-16 text into lines and paths.
#pragma once

#include <cstddef>
#include <cstdint>

namespace text {

// What stands where among kUnits code units: bit i is unit i.
struct LineMarks {
    static constexpr std::size_t kUnits = 64;

    std::uint64_t lineFeeds;
    std::uint64_t backslashes;
    std::uint64_t dropped;  // CR and U+FEFF
};

// Marks `count` units, which may lie at any address, into `marks`, one entry for each
// kUnits of them begun; bits behind the last unit are 0.
void MarkLines(const std::byte* units, std::size_t count, LineMarks* marks) noexcept;

// The same, one unit at a time.
void MarkLinesScalar(const std::byte* units, std::size_t count, LineMarks* marks) noexcept;

}  // namespace text
