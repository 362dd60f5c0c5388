// How the results of a search are printed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ZorelOibIdxLib.h"
#include "cli/command_line/command.h"

namespace zorel::tools {

// Prints the results of one search task after the other: a line each, JSON objects, or
// their number at the end.
class CSearchOutput {
public:
    CSearchOutput(COutput& output, bool isJson, bool isCount)
        : m_output(output), m_isJson(isJson), m_isCount(isCount) {}

    // Keeps only names with one of these endings (';' and ',' separate them), by the rule
    // of the catalogue search: the list in lower case, the name as it stands, and an ending
    // that holds blanks loses as many units at its end.
    void KeepEndings(const std::optional<std::string>& endings);
    // Keeps only files of this volume. The catalogue search takes a folder with any volume
    // for one of all volumes.
    void KeepVolume(std::optional<char16_t> volume) { m_volume = volume; }
    // `subject` names what was searched, for errors.
    void Add(IOibTDFSearchTask& task, const std::string& subject);
    // kExitNothingFound when there was no result.
    EExitCode Finish();

private:
    bool IsKept(std::u16string_view path) const;
    void Print(std::u16string_view path, const SearchResult& result, std::u16string_view owner);

    COutput& m_output;
    bool m_isJson;
    bool m_isCount;
    std::optional<std::vector<std::u16string>> m_endings;
    std::optional<char16_t> m_volume;
    std::uint64_t m_found = 0;
};

}  // namespace zorel::tools
