#include "cli/search/task_source.h"

#include <algorithm>
#include <utility>

namespace zorel::cli {

void CTaskSource::SetTask(client::CComPtr<IOibTDFSearchTask> task, std::string subject,
                          std::unique_ptr<CRowFilter> filter) {
    m_task = std::move(task);
    m_subject = std::move(subject);
    m_filter = filter->IsEmpty() ? nullptr : std::move(filter);
    m_next = 0;
    client::Check(m_task->get_ResultsCount(&m_count), m_subject);
}

bool CTaskSource::Fetch(RowChunk& chunk) {
    if (m_task && m_next == m_count) {
        m_task = nullptr;
    }
    if (!m_task) {
        return Open(chunk);
    }
    FetchRows(chunk);
    return true;
}

void CTaskSource::FetchRows(RowChunk& chunk) {
    if (!m_output.HasRows() && !m_filter) {
        chunk.rows = static_cast<std::uint64_t>(m_count - std::exchange(m_next, m_count));
        return;
    }
    const INT end = m_next + std::min(static_cast<INT>(kRowsPerChunk), m_count - m_next);
    for (; m_next < end; ++m_next) {
        FetchRow(chunk);
    }
}

void CTaskSource::FetchRow(RowChunk& chunk) {
    const HRESULT code = m_task->GetResult(m_next, m_result.Put());
    if (FAILED(code)) {
        const std::string position =
            std::to_string(m_next + 1) + " of " + std::to_string(m_count) + " cannot be read";
        const client::CError error(code, m_subject + ": Result " + position,
                                   client::TakeErrorInfo());
        chunk.errors.emplace_back(error.what());
        return;
    }
    if (m_filter && !m_filter->Accepts(m_result)) {
        return;
    }
    FileRow row;
    row.path = client::ViewOf(m_result.FileFullName);
    row.modified = m_result.ModifyTime;
    row.size = m_result.Size;
    row.owner = OwnerText(m_result);
    m_output.Append(chunk, m_writer, row);
}

}  // namespace zorel::cli
