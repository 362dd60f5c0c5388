// The parts of a record line of a text data file (doc/text-data-files.md).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/times.h"

namespace tdf {

struct RecordLine {
    std::u16string_view path;  // the rest of the line after the size
    double modifyTime = 0;     // DATE
    std::int64_t size = 0;     // bytes; 0 if the text is not a number
};

// Throws CExc (E_FAIL) for a line without a date, a size or a path.
RecordLine ParseRecordLine(std::u16string_view line);

// Parses a line in the form that the generator writes, in place and at any address. The
// time is converted only by ModifyTime().
class CFastRecordLine {
public:
    // Returns false for a line in another form and for one that may be invalid; the caller
    // then uses ParseRecordLine. For all other lines both give the same values.
    bool TryParse(const std::byte* units, std::size_t length) noexcept;

    double ModifyTime() const noexcept;
    std::int64_t Size() const noexcept;

private:
    bool ParseTime() noexcept;
    bool ParseSize(std::size_t length) noexcept;

    const std::byte* m_units = nullptr;
    platform::SystemTime m_time{};
    std::size_t m_sizeEnd = 0;  // position of the comma after the size
};

}  // namespace tdf
