#include "cli/search/task_source.h"

#include <algorithm>
#include <utility>

namespace zorel::cli {

namespace {

constexpr INT kBatchRows = 512;

std::string ReasonOf(HRESULT code, const std::string& subject) {
    try {
        client::Check(code, subject);
    } catch (const client::CError& error) {
        return error.what();
    }
    return subject;
}

}  // namespace

// Results as the task returned them; frees their texts.
struct CTaskSource::Batch {
    Batch() { rows.reserve(kBatchRows); }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;
    ~Batch() {
        for (const SearchResult& row : rows) {
            ::SysFreeString(row.FileFullName);
            ::SysFreeString(row.Owner);
        }
    }

    std::vector<SearchResult> rows;
    std::vector<std::string> errors;
    std::size_t task = 0;
};

CTaskSource::CTaskSource(const CSearchOutput& output) : m_output(output) {
    for (std::size_t i = 0; i < RowWorkerCount(); ++i) {
        m_workers.push_back({output.NewWriter(), nullptr});
    }
}

void CTaskSource::SetTask(client::CComPtr<IOibTDFSearchTask> task, std::string subject) {
    m_task = std::move(task);
    m_subject = std::move(subject);
    m_next = 0;
    ++m_tasks;
    client::Check(m_task->get_ResultsCount(&m_count), m_subject);
}

FormatRows CTaskSource::Fetch() {
    if (!m_task) {
        std::vector<std::string> errors;
        if (Open(errors)) {
            return [errors](std::size_t, RowChunk& chunk) { chunk.errors = errors; };
        }
        return {};
    }
    if (m_next == m_count) {
        m_task = nullptr;
        return Fetch();
    }
    return FetchRows();
}

FormatRows CTaskSource::FetchRows() {
    if (!m_output.HasRows()) {
        const std::unique_ptr<CRowFilter> filter = NewFilter();
        if (!filter || filter->IsEmpty()) {
            const auto count = static_cast<std::uint64_t>(m_count - std::exchange(m_next, m_count));
            return [count](std::size_t, RowChunk& chunk) { chunk.rows = count; };
        }
    }
    const auto batch = std::make_shared<Batch>();
    batch->task = m_tasks;
    const INT end = m_next + std::min(kBatchRows, m_count - m_next);
    for (; m_next < end; ++m_next) {
        SearchResult& row = batch->rows.emplace_back();
        const HRESULT code = m_task->GetResult(m_next, &row);
        if (FAILED(code)) {
            batch->rows.pop_back();
            batch->errors.push_back(
                ReasonOf(code, m_subject + ": Result " + std::to_string(m_next + 1) + " of " +
                                   std::to_string(m_count) + " cannot be read"));
        }
    }
    return [this, batch](std::size_t worker, RowChunk& chunk) {
        Format(*batch, m_workers[worker], chunk);
    };
}

void CTaskSource::Format(const Batch& batch, Worker& worker, RowChunk& chunk) {
    if (worker.task != batch.task) {
        worker.filter = NewFilter();
        worker.task = batch.task;
    }
    CRowFilter* const filter =
        worker.filter && !worker.filter->IsEmpty() ? worker.filter.get() : nullptr;
    FileRow row;
    for (const SearchResult& result : batch.rows) {
        if (filter != nullptr && !filter->Accepts(result)) {
            continue;
        }
        row.path = client::ViewOf(result.FileFullName);
        row.modified = result.ModifyTime;
        row.size = result.Size;
        row.owner = OwnerText(result);
        m_output.Append(chunk, worker.writer, row);
    }
    chunk.errors = batch.errors;
}

}  // namespace zorel::cli
