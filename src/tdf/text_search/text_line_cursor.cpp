#include "tdf/text_search/text_line_cursor.h"

#include <algorithm>
#include <bit>
#include <span>

#include "text/unaligned.h"

namespace tdf {

namespace {

constexpr std::size_t kBlock = text::LineMarks::kUnits;

// The lowest bit of `bits` as a position in the window; kNone when no bit is set.
std::size_t LowestAt(std::uint64_t bits, std::size_t block) noexcept {
    return bits == 0 ? TextLine::kNone
                     : block * kBlock + static_cast<std::size_t>(std::countr_zero(bits));
}

std::size_t HighestAt(std::uint64_t bits, std::size_t block) noexcept {
    return block * kBlock + static_cast<std::size_t>(63 - std::countl_zero(bits));
}

}  // namespace

bool CTextLineCursor::Next(TextLine& line) {
    if (NextInWindow(line) || (Refill() && NextInWindow(line)) || NextThroughReader(line)) {
        ++m_lineNumber;
        return true;
    }
    return false;
}

// Returns false when the window holds no further complete line.
bool CTextLineCursor::NextInWindow(TextLine& line) {
    if (m_next >= m_count) {
        return false;
    }
    std::size_t firstDropped = TextLine::kNone;
    line.firstBackslash = line.lastBackslash = TextLine::kNone;
    const std::size_t blocks = m_marks.size();
    std::uint64_t remaining = ~std::uint64_t{0} << (m_next % kBlock);
    for (std::size_t block = m_next / kBlock; block < blocks; ++block) {
        const text::LineMarks& marks = m_marks[block];
        const std::uint64_t end = marks.lineFeeds & remaining;
        // The bits up to the line feed; all bits if there is none.
        const std::uint64_t inLine = remaining & (end ^ (end - 1));
        const std::uint64_t backslashes = marks.backslashes & inLine;
        line.lastBackslash = backslashes == 0 ? line.lastBackslash : HighestAt(backslashes, block);
        line.firstBackslash = std::min(line.firstBackslash, LowestAt(backslashes, block));
        firstDropped = std::min(firstDropped, LowestAt(marks.dropped & inLine, block));
        if (end != 0) {
            Finish(LowestAt(end, block), firstDropped, line);
            return true;
        }
        remaining = ~std::uint64_t{0};
    }
    return false;
}

// The line ends before the unit `end`. The backslash positions in `line` are relative to
// the window until this function makes them relative to the line.
void CTextLineCursor::Finish(std::size_t end, std::size_t firstDropped, TextLine& line) {
    const std::size_t start = m_next;
    m_next = end + 1;
    if (firstDropped < end - 1 && firstDropped != TextLine::kNone) {
        line.units = m_units + 2 * start;
        CopyWithoutDropped(end - start, line);
        return;
    }
    line.units = m_units + 2 * start;
    line.length = (firstDropped == TextLine::kNone ? end : firstDropped) - start;
    if (line.firstBackslash != TextLine::kNone) {
        line.firstBackslash -= start;
        line.lastBackslash -= start;
    }
}

void CTextLineCursor::CopyWithoutDropped(std::size_t length, TextLine& line) {
    m_copy.clear();
    for (std::size_t i = 0; i < length; ++i) {
        const auto unit = text::LoadUnit(line.units, i);
        if (unit != u'\r' && unit != u'\uFEFF') {
            m_copy.push_back(unit);
        }
    }
    PointAtCopy(line);
}

void CTextLineCursor::PointAtCopy(TextLine& line) const noexcept {
    line.units = std::as_bytes(std::span(m_copy)).data();
    line.length = m_copy.size();
    line.firstBackslash = m_copy.find(u'\\');
    line.lastBackslash = m_copy.rfind(u'\\');
}

// Skips the units already read and takes a new window. Returns false when the new window
// holds no more units than were left of the old one.
bool CTextLineCursor::Refill() {
    const std::size_t left = m_count - m_next;
    m_reader.SkipBytes(2 * m_next);
    const std::span<const std::byte> window = m_reader.Window(idxdata::IReader::kMaxWindow);
    m_next = 0;
    m_units = window.data();
    m_count = window.size() / 2;
    m_marks.resize((m_count + kBlock - 1) / kBlock);
    text::MarkLines(m_units, m_count, m_marks.data());
    return m_count > left;
}

// Refill has set the reader to the start of the line.
bool CTextLineCursor::NextThroughReader(TextLine& line) {
    m_count = m_next = 0;
    m_marks.clear();
    if (!m_reader.ReadTextString(m_copy)) {
        return false;
    }
    PointAtCopy(line);
    return true;
}

}  // namespace tdf
