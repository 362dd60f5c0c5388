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
    explicit CTaskSource(const CSearchOutput& output);

    FormatRows Fetch() override;

protected:
    // Makes the next task; returns false at the end. What is reported instead of a task is added
    // to `errors`.
    virtual bool Open(std::vector<std::string>& errors) = 0;
    // The text of an owner; called by several threads.
    virtual std::u16string_view OwnerText(const SearchResult& row) = 0;
    // A filter for the results of the task; null: every result is accepted.
    virtual std::unique_ptr<CRowFilter> NewFilter() = 0;

    void SetTask(client::CComPtr<IOibTDFSearchTask> task, std::string subject);

private:
    struct Batch;
    // What belongs to one thread.
    struct Worker {
        CRowWriter writer;
        std::unique_ptr<CRowFilter> filter;
        std::size_t task = 0;  // the number of the task that the filter is for
    };

    FormatRows FetchRows();
    void Format(const Batch& batch, Worker& worker, RowChunk& chunk);

    const CSearchOutput& m_output;
    std::vector<Worker> m_workers;
    client::CComPtr<IOibTDFSearchTask> m_task;
    std::string m_subject;
    std::size_t m_tasks = 0;  // made so far
    INT m_count = 0;          // results of the task
    INT m_next = 0;
};

}  // namespace zorel::cli
