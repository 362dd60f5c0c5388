// A key that orders most names without a comparison of the names.
#pragma once

#include <compare>
#include <cstdint>
#include <string_view>

namespace idxdata {

// The first eight folded code units of a name, the first one in the highest bits; 0 after
// its end. Names with different keys have the order of their keys.
struct PathKey {
    std::uint64_t high;
    std::uint64_t low;

    // NOLINTNEXTLINE(modernize-use-nullptr): the analyser takes the comparison's 0 for a pointer.
    auto operator<=>(const PathKey&) const = default;
};

PathKey PathKeyOf(std::u16string_view text) noexcept;

}  // namespace idxdata
