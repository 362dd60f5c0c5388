#pragma once

#include <CLI/App.hpp>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelClient.h"
#include "cli/search/glob.h"

namespace zorel::cli {

// Bytes: a number, alone or followed by K, M, G or T (powers of 1024), by KB or by KiB; 1.5K.
// Throws CCommandError with `option`.
std::int64_t ParseSize(const std::string& text, const std::string& option);

// A moment in UTC or an age (cli/output/calendar.h). Throws CCommandError with `option`.
std::chrono::sys_seconds ParseTime(const std::string& text, const std::string& option);

// The library's record of one search and the texts that it points to.
struct SearchCriteria {
    SearchCriteria() = default;
    SearchCriteria(const SearchCriteria&) = delete;
    SearchCriteria& operator=(const SearchCriteria&) = delete;

    SearchSpec record{};
    client::CString root;
    client::CString name;
    client::CString owner;
};

// The filters of a search: as options, as the library's record, and what the library does not
// test. The library tests times, sizes, the folder, and a single name or owner; CRowFilter tests
// the rest.
class CSearchFilters {
public:
    void Declare(CLI::App& app);
    // Checks the values. Call it once, after the command line is parsed and before the functions
    // below. Throws CCommandError.
    void Prepare();

    // The volume in the path of --under; none when the path has no volume.
    std::optional<char16_t> Volume() const;
    // The folder of --under on a volume, such as u"C:\\docs"; empty without --under.
    std::u16string Root(std::u16string_view volume) const;
    const std::vector<std::string>& Owners() const { return m_owners; }
    // Whether a filter tests what only files have.
    bool IsForFilesOnly() const;

    // The record for a search of a catalogue, whose volumes are searched below the folder only if
    // `hasRoot`. `owner`: an account for the library, or empty.
    void FillForCatalogue(SearchCriteria& criteria, bool hasRoot,
                          const std::u16string& owner) const;
    // The record for a text data file whose lines begin with `volume`. The library has other
    // rules for text: the folder ends with a backslash, and a pattern without stars fits at
    // the start of a name only. The record is adapted to both.
    void FillForText(SearchCriteria& criteria, std::u16string_view volume) const;

    // The patterns of --name in the library's form; none when it tests a single one.
    std::vector<std::u16string> NamePatterns(bool isSingleTested) const;
    std::vector<std::u16string> ExcludedPatterns() const;
    const std::vector<CGlob>& Globs() const { return m_globs; }
    // Folded; empty: every name is accepted.
    const std::optional<std::vector<std::u16string>>& Endings() const { return m_endings; }

private:
    void FillCommon(SearchCriteria& criteria) const;
    // The one pattern that the library tests: every accepted name matches it.
    std::u16string WidestPattern() const;
    // A pattern without * matches anywhere in a name.
    std::u16string Floating(const std::string& pattern) const;

    std::vector<std::string> m_names;
    std::vector<std::string> m_globTexts;
    std::vector<std::string> m_excluded;
    std::vector<std::string> m_owners;
    std::optional<std::string> m_under;
    std::optional<std::string> m_newerThan;
    std::optional<std::string> m_olderThan;
    std::optional<std::string> m_minSize;
    std::optional<std::string> m_maxSize;
    std::optional<std::string> m_endingList;
    bool m_useServerRule = false;

    std::vector<CGlob> m_globs;
    std::optional<std::vector<std::u16string>> m_endings;
    SearchSpec m_limits{};  // times and sizes
};

}  // namespace zorel::cli
