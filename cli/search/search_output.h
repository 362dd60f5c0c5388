#pragma once

#include <CLI/App.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/command_line/command.h"
#include "cli/output/listing_options.h"
#include "cli/output/omission_list.h"
#include "cli/output/output.h"
#include "cli/output/row_pipeline.h"
#include "cli/output/row_writer.h"

namespace zorel::cli {

// What a search prints: its options, the rows for the sources to format, and the output.
class CSearchOutput {
public:
    void Declare(CLI::App& app);
    // Checks the values. Call it once, after the command line is parsed and before the functions
    // below. Throws CCommandError.
    void Prepare(bool isJson);

    // Whether the rows themselves are needed, or only their number.
    bool HasRows() const { return !m_isCount && !m_isQuiet; }
    // A writer for one thread.
    CRowWriter NewWriter() const { return CRowWriter(m_style); }
    // Adds a row that was accepted.
    void Append(RowChunk& chunk, CRowWriter& writer, const FileRow& row) const;

    // Writes the rows of all sources. `waitingFor` is shown on a terminal until the first of them.
    // kExitIncomplete when something could not be read, kExitNothingFound when there was no row.
    EExitCode Print(COutput& output, const std::vector<std::unique_ptr<CRowSource>>& sources,
                    const std::string& waitingFor);

private:
    enum class EOrder { Found, Name, Path, Size, Time };

    bool Write(COutput& output, RowChunk& chunk);
    void WriteSorted(COutput& output);
    void Report(const RowChunk& chunk);

    std::string m_template;
    std::string m_orderName;
    std::string m_limitText;
    bool m_isReverse = false;
    bool m_isCount = false;
    bool m_isQuiet = false;
    bool m_isLong = false;
    bool m_isNull = false;
    bool m_isJson = false;
    CListingOptions m_listing;

    RowStyle m_style;
    EOrder m_order = EOrder::Found;
    std::optional<std::uint64_t> m_limit;
    std::vector<RowChunk> m_chunks;  // to be sorted
    COmissionList m_notes;
    std::uint64_t m_found = 0;
    bool m_isComplete = true;
};

}  // namespace zorel::cli
