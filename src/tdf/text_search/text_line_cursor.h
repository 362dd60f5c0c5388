// Reads the lines of a text data file without copying them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "idxdata/streams/file_reader.h"
#include "text/line_marks.h"

namespace tdf {

// One line in the reader's buffer, at any address, without LF, CR and byte-order marks.
struct TextLine {
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    const std::byte* units;
    std::size_t length;          // code units
    std::size_t firstBackslash;  // kNone when there is none
    std::size_t lastBackslash;
};

// Reads lines from the reader's position on: the same lines, in the same order and with the
// same failures as CFileReader::ReadTextString. A line is copied only if it holds CR or
// byte-order marks before its end, or if it does not end inside the reader's buffer.
class CTextLineCursor {
public:
    explicit CTextLineCursor(idxdata::CFileReader& reader) : m_reader(reader) {}

    // False at the end. The line is valid until the next call.
    bool Next(TextLine& line);
    // Number of the line returned last, from 1.
    std::uint64_t LineNumber() const noexcept { return m_lineNumber; }

private:
    bool NextInWindow(TextLine& line);
    bool Refill();
    bool NextThroughReader(TextLine& line);
    void Finish(std::size_t end, std::size_t firstDropped, TextLine& line);
    void CopyWithoutDropped(std::size_t length, TextLine& line);
    void PointAtCopy(TextLine& line) const noexcept;

    idxdata::CFileReader& m_reader;
    std::uint64_t m_lineNumber = 0;
    const std::byte* m_units = nullptr;    // the window
    std::size_t m_count = 0;               // units in the window
    std::size_t m_next = 0;                // first unit of the next line
    std::vector<text::LineMarks> m_marks;  // of the window
    std::u16string m_copy;                 // the current line, if it is copied
};

}  // namespace tdf
