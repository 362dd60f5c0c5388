#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ZorelAutomation.h"
#include "cli/output/text_buffer.h"

namespace zorel::cli {

// Dates as text, in UTC or in the time zone of the machine. Keeps the texts of recent days,
// because the files of a listing share few of them. For one thread at a time.
class CDateFormatter {
public:
    static constexpr std::size_t kWidth = 19;  // columns of a date without its zone

    explicit CDateFormatter(bool isLocal = false) : m_isLocal(isLocal) {}

    // Appends "2024-03-01", the separator and "12:34:56". Returns false and appends nothing for a
    // date outside the years 100 to 9999.
    bool Append(CTextBuffer& out, DATE date, char separator);
    // The zone of the date that was appended last: "Z" for UTC, or "+01:00".
    void AppendZone(CTextBuffer& out) const;
    // Seconds since 1899-12-30, for a date that is a number and at most 10,000,000 days away.
    static std::int64_t SecondsOf(DATE date);

private:
    struct Day {
        std::int32_t number = 0;  // since 1899-12-30
        bool isKnown = false;
        std::array<char, 10> text{};
    };

    const Day* Find(std::int64_t number);
    // Seconds since 1899-12-30, moved to the zone of the machine.
    std::int64_t ToLocal(std::int64_t seconds);

    std::array<Day, 256> m_days;  // by the low bits of their numbers
    bool m_isLocal;
    std::int64_t m_offset = 0;        // seconds east of UTC, of the last date
    std::int64_t m_offsetPeriod = 0;  // the quarter of an hour that has this offset
    bool m_isOffsetKnown = false;
};

}  // namespace zorel::cli
