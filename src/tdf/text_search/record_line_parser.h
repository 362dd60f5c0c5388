// The parts of a record line of a text data file (doc/text-data-files.md).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/times.h"

namespace tdf {

struct RecordLine {
    std::u16string_view path;  // the rest of the line behind the size
    double modifyTime = 0;     // DATE
    std::int64_t size = 0;     // bytes; 0 for a text that is no number
};

// Throws CExc (E_FAIL) for a line without a date, a size or a path.
RecordLine ParseRecordLine(std::u16string_view line);

// A line in the form that the generator gives it, parsed where it lies, at any address,
// and without converting its time before that is asked for.
class CFastRecordLine {
public:
    // False for a line that is not in this form or that could fail to parse; whether it
    // does is for ParseRecordLine to tell. A line taken here parses to the same values.
    bool TryParse(const std::byte* units, std::size_t length) noexcept;

    double ModifyTime() const noexcept;
    std::int64_t Size() const noexcept;

private:
    bool TakeTime() noexcept;
    bool TakeSize(std::size_t length) noexcept;

    const std::byte* m_units = nullptr;
    platform::SystemTime m_time{};
    std::size_t m_sizeEnd = 0;  // position of the comma behind the size
};

}  // namespace tdf
