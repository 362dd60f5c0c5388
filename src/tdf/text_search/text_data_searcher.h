// Searches a text data file of record lines (doc/text-data-files.md).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tdf/matching/search_limits.h"
#include "tdf/matching/wildcard.h"
#include "tdf/text_search/text_line_cursor.h"
#include "text/line_store.h"

namespace tdf {

// Filled by Search, read afterwards; one thread at a time. Criteria are set before Search.
class CTextDataSearcher {
public:
    // Both ends belong to the range; an end that is not a number rejects nothing.
    void SetTimeLimits(double from, double till) { m_timeLimits = {from, till}; }
    void ClearTimeLimits() { m_timeLimits.reset(); }
    void SetSizeLimits(std::int64_t from, std::int64_t till) { m_sizeLimits = {from, till}; }
    void ClearSizeLimits() { m_sizeLimits.reset(); }
    // Kept, and asked by no search.
    void SetUnrestrictedExtensions(std::u16string_view text) { m_unrestrictedExtensions = text; }

    // Appends the lines whose folder begins with `rootPath`, whose name fits `pattern` and
    // whose time and size lie within the limits, as they stand in the file. Throws what
    // CFileReader throws, and CExc (E_FAIL) for a line that is cut into folder and name in
    // vain, or that lies below the root and is no record line; the lines before it stay.
    void Search(std::u16string_view dataFile, std::u16string_view rootPath,
                std::u16string_view pattern);

    std::int32_t GetResultsCount() const noexcept {
        return static_cast<std::int32_t>(m_results.size());
    }
    const text::CLineStore& GetResults() const noexcept { return m_results; }
    // `fileName` lives as long as the searcher. Throws CExc: E_INVALIDARG for an index that
    // names no result, E_FAIL for a line that does not parse.
    void GetResultRecord(std::int32_t index, std::u16string_view& fileName, double& modifyTime,
                         std::int64_t& size) const;

    // Whether the name of `line`, which holds a path, fits `pattern`. Throws what CutLine
    // throws.
    static bool IsWildcardMatch(std::u16string_view line, std::u16string_view pattern);

private:
    bool Accepts(const TextLine& line, const CWildcardPattern& wildcard) const;

    text::CLineStore m_results;
    std::optional<TimeLimits> m_timeLimits;
    std::optional<SizeLimits> m_sizeLimits;
    std::u16string m_unrestrictedExtensions;
};

}  // namespace tdf
