#include "cli/search/search_output.h"

#include <CLI/Option.hpp>
#include <CLI/Validators.hpp>
#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

#include "cli/output/date_formatter.h"
#include "cli/output/json_object.h"
#include "cli/output/text_format.h"
#include "cli/output/waiting_line.h"

namespace zorel::cli {

namespace {

std::uint64_t ParseLimit(const std::string& text) {
    std::uint64_t limit = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, limit);
    if (result.ec != std::errc() || result.ptr != end || limit == 0) {
        throw CCommandError("--limit: '" + text + "' is not a number of rows; examples: 1, 100");
    }
    return limit;
}

// One row of the chunks that are sorted.
struct SortedRow {
    std::string_view text;
    std::u16string_view key;
    std::int64_t number;
};

std::vector<SortedRow> RowsOf(const std::vector<RowChunk>& chunks) {
    std::vector<SortedRow> rows;
    for (const RowChunk& chunk : chunks) {
        RowChunk::Row previous;
        const std::string_view text = chunk.text.View();
        const std::u16string_view keys = chunk.keys;
        for (const RowChunk::Row& row : chunk.marks) {
            rows.push_back({text.substr(previous.end, row.end - previous.end),
                            keys.substr(previous.keyEnd, row.keyEnd - previous.keyEnd),
                            row.number});
            previous = row;
        }
    }
    return rows;
}

}  // namespace

void CSearchOutput::Declare(CLI::App& app) {
    auto* const count = app.add_flag("--count", m_isCount, "Print only the number of files found");
    auto* const isLong =
        app.add_flag("-l,--long", m_isLong, "Print type, volume, owner, size, time and path");
    auto* const format =
        app.add_option("--format", m_template,
                       "Print rows like '{size} {path}'; also {name}, {folder}, {time}, {owner}, "
                       "{volume}")
            ->type_name("TEMPLATE");
    auto* const null = app.add_flag("-0,--null", m_isNull,
                                    "Print paths, or rows of --format, unchanged and with a NUL at "
                                    "their ends");
    app.add_option("--sort", m_orderName, "Sort by name, path, size or time")
        ->type_name("KEY")
        ->check(CLI::IsMember({"name", "path", "size", "time"}));
    app.add_flag("--reverse", m_isReverse, "Sort in the opposite order")->needs("--sort");
    app.add_option("--limit", m_limitText, "Print at most this many rows")->type_name("N");
    app.add_flag("-q,--quiet", m_isQuiet, "Print nothing; the exit code is the answer");
    m_listing.Declare(app);
    isLong->excludes(format)->excludes(null);
    count->excludes(isLong)->excludes(format)->excludes(null);
}

void CSearchOutput::Prepare(bool isJson) {
    m_isJson = isJson;
    if (isJson && (m_isLong || m_isNull || !m_template.empty())) {
        throw CCommandError("--json excludes --long, --null and --format");
    }
    m_style = m_listing.TextStyle();
    if (isJson) {
        m_style.format = ERowFormat::Json;
    } else if (!m_template.empty()) {
        m_style.format = ERowFormat::Template;
        m_style.fields = CRowTemplate(m_template);
    } else if (m_isNull) {
        m_style.format = ERowFormat::Path;
    } else if (m_isLong) {
        constexpr std::size_t kHumanSizeWidth = 7;
        m_style.format = ERowFormat::Columns;
        m_style.isHuman = m_style.hasVolume = true;
        m_style.sizeWidth = kHumanSizeWidth;
    }
    if (m_isNull) {
        m_style.end = '\0';
        m_style.isColored = false;
    }
    if (!m_limitText.empty()) {
        m_limit = ParseLimit(m_limitText);
    }
    constexpr std::pair<const char*, EOrder> kOrders[] = {{"name", EOrder::Name},
                                                          {"path", EOrder::Path},
                                                          {"size", EOrder::Size},
                                                          {"time", EOrder::Time}};
    for (const auto& [name, order] : kOrders) {
        m_order = m_orderName == name ? order : m_order;
    }
}

void CSearchOutput::Append(RowChunk& chunk, CRowWriter& writer, const FileRow& row) const {
    ++chunk.rows;
    if (!HasRows()) {
        return;
    }
    writer.Append(chunk.text, row);
    if (m_order == EOrder::Found && !m_limit) {
        return;
    }
    RowChunk::Row mark{chunk.text.Size(), 0, std::numeric_limits<std::int64_t>::min()};
    if (m_order == EOrder::Name) {
        chunk.keys.append(Folded(row.Name())).append(1, u'\0');
    }
    if (m_order == EOrder::Name || m_order == EOrder::Path) {
        chunk.keys += Folded(row.path);
    } else if (!row.isFolder) {
        mark.number = m_order == EOrder::Size ? row.size : CDateFormatter::SecondsOf(row.modified);
    }
    mark.keyEnd = chunk.keys.size();
    chunk.marks.push_back(mark);
}

EExitCode CSearchOutput::Print(COutput& output,
                               const std::vector<std::unique_ptr<CRowSource>>& sources,
                               const std::string& waitingFor) {
    std::optional<CWaitingLine> waiting(waitingFor);
    WriteInOrder(sources, [&](RowChunk& chunk) {
        if (chunk.rows > 0 || !chunk.errors.empty() || !chunk.notes.empty()) {
            waiting.reset();
        }
        Report(chunk);
        return Write(output, chunk);
    });
    waiting.reset();
    m_notes.Finish();
    if (m_order != EOrder::Found && HasRows()) {
        WriteSorted(output);
    }
    if (m_isCount && !m_isQuiet) {
        const auto count = static_cast<std::int64_t>(m_found);
        output.Write(m_isJson ? CJsonObject().AddNumber("count", count).Line()
                              : std::to_string(count) + "\n");
    }
    if (!m_isComplete) {
        return kExitIncomplete;
    }
    return m_found == 0 ? kExitNothingFound : kExitOk;
}

void CSearchOutput::Report(const RowChunk& chunk) {
    for (const RowChunk::Note& note : chunk.notes) {
        m_notes.Add(note.path, note.reason);
    }
    for (const std::string& error : chunk.errors) {
        PrintError(error);
    }
    m_isComplete = m_isComplete && chunk.errors.empty();
}

// Returns whether more rows are wanted.
bool CSearchOutput::Write(COutput& output, RowChunk& chunk) {
    if (m_order != EOrder::Found && HasRows()) {
        m_found += chunk.rows;
        m_chunks.push_back(std::move(chunk));
        return true;
    }
    std::string_view text = chunk.text.View();
    std::uint64_t rows = chunk.rows;
    if (m_limit && rows > *m_limit - m_found) {
        rows = *m_limit - m_found;
        text = text.substr(0, HasRows() && rows > 0 ? chunk.marks[rows - 1].end : 0);
    }
    m_found += rows;
    output.Write(text);
    return !(m_limit && m_found == *m_limit) && !(m_isQuiet && m_found > 0);
}

// Equal rows keep the order in which they were found, also in the opposite order.
void CSearchOutput::WriteSorted(COutput& output) {
    std::vector<SortedRow> rows = RowsOf(m_chunks);
    std::stable_sort(rows.begin(), rows.end(), [this](const SortedRow& a, const SortedRow& b) {
        const SortedRow& low = m_isReverse ? b : a;
        const SortedRow& high = m_isReverse ? a : b;
        return low.number != high.number ? low.number < high.number : low.key < high.key;
    });
    if (m_limit && rows.size() > *m_limit) {
        rows.resize(*m_limit);
    }
    for (const SortedRow& row : rows) {
        output.Write(row.text);
    }
}

}  // namespace zorel::cli
