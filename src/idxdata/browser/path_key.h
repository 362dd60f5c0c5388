// What orders most names without looking at them again.
#pragma once

#include <compare>
#include <cstdint>
#include <string_view>

namespace idxdata {

// The first eight folded code units of a name, the first one highest, 0 behind its end.
// Names with different keys are ordered as their keys are.
struct PathKey {
    std::uint64_t high;
    std::uint64_t low;

    auto operator<=>(const PathKey&) const = default;
};

PathKey PathKeyOf(std::u16string_view text) noexcept;

}  // namespace idxdata
