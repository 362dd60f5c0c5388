#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ZorelClient.h"
#include "cli/command_line/command.h"

namespace zorel::cli {

// Prints the results of search tasks: a line or a JSON object for each, or only their number
// at the end.
class CSearchOutput {
public:
    CSearchOutput(COutput& output, bool isJson, bool isCount)
        : m_output(output), m_isJson(isJson), m_isCount(isCount) {}

    // Keeps only names that end in one of the texts of the list, which ';' and ',' separate.
    // The rule is that of the catalogue search: the list is mapped to lower case, the name is
    // not, and each blank inside an ending removes one unit from its end.
    void KeepEndings(const std::optional<std::string>& endings);
    // Keeps only files of this volume: the catalogue search ignores the volume of a folder.
    void KeepVolume(std::optional<char16_t> volume) { m_volume = volume; }
    // Reports each result that cannot be read, by its position, and continues with the next one.
    // Throws client::CError with `subject` if there is no number of results.
    void Add(IOibTDFSearchTask& task, const std::string& subject);
    // kExitIncomplete when a result could not be read, kExitNothingFound when there was none.
    EExitCode Finish();

private:
    bool IsKept(std::u16string_view path) const;
    void Print(const SearchResult& result);

    COutput& m_output;
    bool m_isJson;
    bool m_isCount;
    std::optional<std::vector<std::u16string>> m_endings;
    std::optional<char16_t> m_volume;
    std::uint64_t m_found = 0;
    bool m_isComplete = true;
};

}  // namespace zorel::cli
