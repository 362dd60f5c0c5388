// The ranges of a search.
#pragma once

#include <cstdint>

namespace tdf {

// Both bounds are included. A bound that is not a number rejects nothing.
struct TimeLimits {
    double from;  // DATE
    double till;

    bool Rejects(double time) const noexcept { return from > time || time > till; }
};

struct SizeLimits {
    std::int64_t from;  // bytes
    std::int64_t till;

    bool Rejects(std::int64_t size) const noexcept { return size < from || size > till; }
};

}  // namespace tdf
