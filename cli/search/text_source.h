#pragma once

#include <string>
#include <utility>

#include "cli/search/task_source.h"

namespace zorel::cli {

// The search of one text data file.
class CTextSource : public CTaskSource {
public:
    // `volume`: what the paths of the file begin with. The filters and the output must outlive
    // the source.
    CTextSource(std::string file, std::u16string volume, const CSearchFilters& filters,
                const CSearchOutput& output)
        : CTaskSource(output),
          m_file(std::move(file)),
          m_volume(std::move(volume)),
          m_filters(filters) {}

protected:
    bool Open(RowChunk& chunk) override;
    std::u16string_view OwnerText(const SearchResult&) override { return {}; }

private:
    std::string m_file;
    std::u16string m_volume;
    const CSearchFilters& m_filters;
    bool m_isDone = false;
};

}  // namespace zorel::cli
