#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelClient.h"
#include "cli/output/row_pipeline.h"
#include "cli/search/row_filter.h"
#include "cli/search/search_output.h"

namespace zorel::cli {

// The rows of search tasks, which are made one after another.
class CTaskSource : public CRowSource {
public:
    explicit CTaskSource(const CSearchOutput& output)
        : m_output(output), m_writer(output.NewWriter()) {}

    bool Fetch(RowChunk& chunk) override;

protected:
    // Makes the next task; returns false at the end. What is reported instead of a task is added
    // to the chunk.
    virtual bool Open(RowChunk& chunk) = 0;
    // The text of the owner of a result.
    virtual std::u16string_view OwnerText(const SearchResult& row) = 0;

    // Begins with the results of a task that the filter accepts.
    void SetTask(client::CComPtr<IOibTDFSearchTask> task, std::string subject,
                 std::unique_ptr<CRowFilter> filter);

private:
    void FetchRows(RowChunk& chunk);
    void FetchRow(RowChunk& chunk);

    const CSearchOutput& m_output;
    CRowWriter m_writer;
    client::CComPtr<IOibTDFSearchTask> m_task;
    std::string m_subject;
    std::unique_ptr<CRowFilter> m_filter;  // null: every result is accepted
    client::CSearchResult m_result;
    INT m_count = 0;  // results of the task
    INT m_next = 0;
};

}  // namespace zorel::cli
