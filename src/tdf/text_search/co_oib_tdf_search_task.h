#pragma once

#include <string_view>

#include "frame/objects/com_object.h"
#include "tdf/text_search/text_data_searcher.h"

namespace coClasses {

// IOibTDFSearchTask over the results of one search of a text data file. For one thread at
// a time.
class CCoOibTDFSearchTask final : public frame::CCoObject<IOibTDFSearchTask> {
public:
    // Runs the whole search. Throws what CTextDataSearcher::Search throws.
    CCoOibTDFSearchTask(std::u16string_view dataFile, const SearchSpec& wanted);

    HRESULT STDMETHODCALLTYPE GetResult(INT index, SearchResult* srchResult) override;
    HRESULT STDMETHODCALLTYPE get_ResultsCount(INT* pCount) override;

private:
    tdf::CTextDataSearcher m_searcher;
};

}  // namespace coClasses
