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

// Set the limits, call Search, then read the results. For one thread at a time.
class CTextDataSearcher {
public:
    // Both bounds are included; a bound that is not a number rejects nothing.
    void SetTimeLimits(double from, double till) { m_timeLimits = {from, till}; }
    void ClearTimeLimits() { m_timeLimits.reset(); }
    void SetSizeLimits(std::int64_t from, std::int64_t till) { m_sizeLimits = {from, till}; }
    void ClearSizeLimits() { m_sizeLimits.reset(); }
    // Stored only: the search of text does not use it.
    void SetUnrestrictedExtensions(std::u16string_view text) { m_unrestrictedExtensions = text; }

    // Appends, unchanged, the lines whose folder begins with `rootPath`, whose name matches
    // `pattern` and whose time and size are within the limits. Throws what CFileReader
    // throws. Throws CExc (E_FAIL) for a line without a folder, and for a line below
    // `rootPath` that is not a record line. The results up to that line are kept.
    void Search(std::u16string_view dataFile, std::u16string_view rootPath,
                std::u16string_view pattern);

    std::int32_t GetResultsCount() const noexcept {
        return static_cast<std::int32_t>(m_results.size());
    }
    const text::CLineStore& GetResults() const noexcept { return m_results; }
    // `fileName` is valid as long as the searcher. Throws CExc: E_INVALIDARG for an index
    // out of range, E_FAIL for a line that does not parse.
    void GetResultRecord(std::int32_t index, std::u16string_view& fileName, double& modifyTime,
                         std::int64_t& size) const;

    // Whether the file name in `line`, which holds a path, matches `pattern`. Throws what
    // SplitLine throws.
    static bool IsWildcardMatch(std::u16string_view line, std::u16string_view pattern);

private:
    bool Accepts(const TextLine& line, const CWildcardPattern& wildcard) const;

    text::CLineStore m_results;
    std::optional<TimeLimits> m_timeLimits;
    std::optional<SizeLimits> m_sizeLimits;
    std::u16string m_unrestrictedExtensions;
};

}  // namespace tdf
