// The fixed beginning of a record line.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tdf {

// Writes "MM/DD/YYYY HH:MM:SS, SIZE, ". Caches the text of the last day; for one thread at a
// time.
class CRecordPrefixFormatter {
public:
    static constexpr std::size_t kMaxUnits = 19 + 2 + 20 + 2;

    // Writes at most kMaxUnits code units to `line`, at any address, and returns their
    // number. The time is UTC in whole seconds. A time before 1601 is written as the first
    // second of 1601, a time after 9999 as the last second of 9999.
    std::size_t Write(std::int64_t ticks, std::int64_t size, std::byte* line);

private:
    static constexpr std::size_t kDayUnits = 11;  // the day and a blank

    void SetDay(std::uint32_t day);

    std::uint32_t m_day = 0xFFFFFFFFU;  // since 1601-01-01
    std::array<char16_t, kDayUnits> m_dayText{};
};

}  // namespace tdf
