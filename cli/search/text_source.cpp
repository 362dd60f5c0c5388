#include "cli/search/text_source.h"

#include <utility>

#include "cli/command_line/paths.h"

namespace zorel::cli {

bool CTextSource::Open(RowChunk&) {
    if (std::exchange(m_isDone, true)) {
        return false;
    }
    SearchCriteria criteria;
    m_filters.FillForText(criteria, m_volume);
    client::CComPtr<IOibTDFSearchTask> task;
    client::Check(client::CreateLibrary()->FindInOibTDF2(client::CString(AbsolutePath(m_file)),
                                                         &criteria.record, task.Put()),
                  m_file);
    SetTask(std::move(task), m_file,
            std::make_unique<CRowFilter>(m_filters, nullptr, CRowFilter::ETested::NameAndFolder));
    return true;
}

}  // namespace zorel::cli
