// Compares the times of file records with a range of dates.
#pragma once

#include <cstdint>

#include "tdf/matching/search_limits.h"

namespace tdf {

// The DATE of a file time, in whole seconds. Throws CExc (E_FAIL) for ticks out of range.
double DateOfTicks(std::int64_t ticks);

// Gives the same results as TimeLimits for the ticks' dates, without converting each time.
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
    // Dates grow with the ticks from 1899-12-30 to the last second of 9999. Before
    // 1899-12-30 the fraction of a date counts backwards.
    static constexpr std::int64_t kTicksPerDay = 864'000'000'000;
    static constexpr std::int64_t kFirst = 109'205 * kTicksPerDay;
    static constexpr std::int64_t kLast = 3'067'671 * kTicksPerDay - 1;

    TimeLimits m_limits;
    std::int64_t m_from;  // of kFirst to kLast, m_from to m_till are not rejected
    std::int64_t m_till;
};

}  // namespace tdf
