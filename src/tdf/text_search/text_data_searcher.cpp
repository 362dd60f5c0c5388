#include "tdf/text_search/text_data_searcher.h"

#include <cstring>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "idxdata/streams/file_reader.h"
#include "tdf/text_search/record_line_parser.h"
#include "text/folded_text.h"

namespace tdf {

namespace {

std::u16string CopyOf(const TextLine& line) {
    std::u16string text(line.length, u'\0');
    if (line.length > 0) {
        std::memcpy(text.data(), line.units, 2 * line.length);
    }
    return text;
}

bool HasFolder(const TextLine& line) noexcept {
    return line.firstBackslash != TextLine::kNone && line.firstBackslash >= kDriveLength;
}

bool IsBelow(const TextLine& line, const text::CFoldedText& root) noexcept {
    const std::size_t start = line.firstBackslash - kDriveLength;
    return root.IsPrefixOf(line.units + 2 * start, line.lastBackslash + 1 - start);
}

bool MatchesName(const TextLine& line, const CWildcardPattern& wildcard) noexcept {
    const std::size_t start = line.lastBackslash + 1;
    return wildcard.Match(line.units + 2 * start, line.length - start);
}

}  // namespace

void CTextDataSearcher::Search(std::u16string_view dataFile, std::u16string_view rootPath,
                               std::u16string_view pattern) {
    idxdata::CFileReader reader;
    reader.Open(dataFile);
    const text::CFoldedText root(rootPath);
    const CWildcardPattern wildcard(pattern);
    CTextLineCursor lines(reader);
    TextLine line{};
    while (lines.Next(line)) {
        if (!HasFolder(line)) {
            throw frame::CExc(u"Cannot find a folder in line %1 of the text data file [%2].",
                              {frame::UInt64ToString(lines.LineNumber()), dataFile}, frame::kFail);
        }
        if (IsBelow(line, root) && Accepts(line, wildcard)) {
            m_results.Add(line.units, line.length);
        }
    }
}

// The line is parsed even if its name does not match: an invalid line ends the search.
bool CTextDataSearcher::Accepts(const TextLine& line, const CWildcardPattern& wildcard) const {
    CFastRecordLine fast;
    if (!fast.TryParse(line.units, line.length)) {
        const std::u16string text = CopyOf(line);
        const RecordLine record = ParseRecordLine(text);
        return MatchesName(line, wildcard) &&
               !(m_timeLimits && m_timeLimits->Rejects(record.modifyTime)) &&
               !(m_sizeLimits && m_sizeLimits->Rejects(record.size));
    }
    return MatchesName(line, wildcard) &&
           !(m_timeLimits && m_timeLimits->Rejects(fast.ModifyTime())) &&
           !(m_sizeLimits && m_sizeLimits->Rejects(fast.Size()));
}

void CTextDataSearcher::GetResultRecord(std::int32_t index, std::u16string_view& fileName,
                                        double& modifyTime, std::int64_t& size) const {
    if (index < 0 || static_cast<std::size_t>(index) >= m_results.size()) {
        throw frame::CExc(u"Index is out of bounds in CTextDataSearcher::GetResultRecord",
                          frame::kInvalidArg);
    }
    const RecordLine record = ParseRecordLine(m_results[static_cast<std::size_t>(index)]);
    fileName = record.path;
    modifyTime = record.modifyTime;
    size = record.size;
}

bool CTextDataSearcher::IsWildcardMatch(std::u16string_view line, std::u16string_view pattern) {
    return MatchWildcard(SplitLine(line).name, pattern, Floats(pattern, EStarRule::LeadingStar));
}

}  // namespace tdf
