#include "tdf/binary_search/tick_limits.h"

#include "frame/errors.h"
#include "platform/times.h"

namespace tdf {

double DateOfTicks(std::int64_t ticks) {
    double date = 0;
    if (!platform::FileTimeToDate(ticks, date)) {
        throw frame::CExc(u"Cannot convert file time to variant time.", frame::kFail);
    }
    return date;
}

namespace {

// The first of the ticks `first` to `last` for whose date `test` is true; last + 1 if there
// is none. `test` is true for all later ticks as well.
template <class Test>
std::int64_t FirstPassing(std::int64_t first, std::int64_t last, Test&& test) noexcept {
    std::int64_t end = last + 1;
    while (first < end) {
        const std::int64_t middle = first + (end - first) / 2;
        double date = 0;
        platform::FileTimeToDate(middle, date);
        if (test(date)) {
            end = middle;
        } else {
            first = middle + 1;
        }
    }
    return first;
}

}  // namespace

CTickLimits::CTickLimits(const TimeLimits& limits) noexcept
    : m_limits(limits),
      m_from(FirstPassing(kFirst, kLast, [&](double date) { return !(limits.from > date); })),
      m_till(FirstPassing(kFirst, kLast, [&](double date) { return date > limits.till; }) - 1) {}

}  // namespace tdf
