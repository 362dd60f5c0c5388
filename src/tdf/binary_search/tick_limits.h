// Times of file records against a range of dates.
#pragma once

#include <cstdint>

#include "tdf/matching/search_limits.h"

namespace tdf {

// The DATE of a file time, of whole seconds. Throws CExc (E_FAIL) for ticks that have none.
double DateOfTicks(std::int64_t ticks);

// The same answers as TimeLimits gives for the ticks' dates, without converting each.
class CTickLimits {
public:
    explicit CTickLimits(const TimeLimits& limits) noexcept;

    // Throws what DateOfTicks throws.
    bool Rejects(std::int64_t ticks) const {
        if (ticks >= kFirst && ticks <= kLast) {
            return ticks < m_from || ticks > m_till;
        }
        return m_limits.Rejects(DateOfTicks(ticks));
    }

private:
    // Dates grow with the ticks from 1899-12-30 to the last second of 9999; before that
    // the time of day counts backwards.
    static constexpr std::int64_t kTicksPerDay = 864'000'000'000;
    static constexpr std::int64_t kFirst = 109'205 * kTicksPerDay;
    static constexpr std::int64_t kLast = 3'067'671 * kTicksPerDay - 1;

    TimeLimits m_limits;
    std::int64_t m_from;  // the ticks within kFirst to kLast that are not rejected
    std::int64_t m_till;
};

}  // namespace tdf
