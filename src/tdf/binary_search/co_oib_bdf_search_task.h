#pragma once

#include <string_view>

#include "frame/objects/com_object.h"
#include "tdf/binary_search/bin_data_searcher.h"

namespace coClasses {

// IOibBDFSearchTask over the volumes of one folder. For one thread at a time.
class CCoOibBDFSearchTask final : public frame::CCoObject<IOibBDFSearchTask> {
public:
    // Loads all volumes. Throws what LoadVolumes throws.
    explicit CCoOibBDFSearchTask(std::u16string_view dataPath);

    HRESULT STDMETHODCALLTYPE GetResult(INT index, SearchResult* srchResult) override;
    HRESULT STDMETHODCALLTYPE get_ResultsCount(INT* pCount) override;
    HRESULT STDMETHODCALLTYPE Find(SearchSpec* srchSpec) override;

private:
    tdf::CBinDataSearcher m_searcher;
    tdf::CBinDataSearcher::ResultRecord m_record;  // read last; its memory is reused
};

}  // namespace coClasses
