// The fixed beginning of a record line.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tdf {

// Writes "MM/DD/YYYY HH:MM:SS, SIZE, ". Remembers the last day, so one thread at a time.
class CRecordPrefixFormatter {
public:
    static constexpr std::size_t kMaxUnits = 19 + 2 + 20 + 2;

    // Writes at most kMaxUnits code units to `line`, at any address, and returns their
    // number. UTC, seconds cut. A time before 1601 is written as the first second of that
    // year, one after 9999 as the last second of it, so that the columns stay.
    std::size_t Write(std::int64_t ticks, std::int64_t size, std::byte* line);

private:
    static constexpr std::size_t kDayUnits = 11;  // with the blank after it

    void SetDay(std::uint32_t day);

    std::uint32_t m_day = 0xFFFFFFFFU;  // since 1601-01-01
    std::array<char16_t, kDayUnits> m_dayText{};
};

}  // namespace tdf
