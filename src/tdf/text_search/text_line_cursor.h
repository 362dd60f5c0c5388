// Reads the lines of a text data file without copying them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "idxdata/streams/file_reader.h"
#include "text/line_marks.h"

namespace tdf {

// One line where it lies, at any address, without its LF and without the units that are
// dropped from lines.
struct TextLine {
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    const std::byte* units;
    std::size_t length;          // code units
    std::size_t firstBackslash;  // kNone when there is none
    std::size_t lastBackslash;
};

// Steps through the lines from the reader's position on: the same lines, in the same
// order and with the same failures as CFileReader::ReadTextString gives. Lines that hold
// units to drop, and those that do not end inside the reader's buffer, are copied;
// all others are looked at in the buffer.
class CTextLineCursor {
public:
    explicit CTextLineCursor(idxdata::CFileReader& reader) : m_reader(reader) {}

    // False at the end. The line is valid until the next call.
    bool Next(TextLine& line);
    // Of the line last returned, from 1.
    std::uint64_t LineNumber() const noexcept { return m_lineNumber; }

private:
    bool NextInWindow(TextLine& line);
    bool Refill();
    bool NextThroughReader(TextLine& line);
    void Finish(std::size_t end, std::size_t firstDropped, TextLine& line);
    void CopyWithoutDropped(std::size_t end, TextLine& line);
    void PointAtCopy(TextLine& line) const noexcept;

    idxdata::CFileReader& m_reader;
    std::uint64_t m_lineNumber = 0;
    const std::byte* m_units = nullptr;    // the window
    std::size_t m_count = 0;               // its units
    std::size_t m_next = 0;                // unit that the next line begins with
    std::vector<text::LineMarks> m_marks;  // of the window
    std::u16string m_copy;                 // a line that had to be copied
};

}  // namespace tdf
