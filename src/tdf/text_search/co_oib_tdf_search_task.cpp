#include "tdf/text_search/co_oib_tdf_search_task.h"

#include "automation/bstr.h"

namespace coClasses {

// Owner and UseSearchServerRule apply to the search of binary data only.
CCoOibTDFSearchTask::CCoOibTDFSearchTask(std::u16string_view dataFile, const SearchSpec& wanted) {
    if (wanted.UseTimeLimits != VARIANT_FALSE) {
        m_searcher.SetTimeLimits(wanted.ModifyTimeFrom, wanted.ModifyTimeTill);
    } else {
        m_searcher.ClearTimeLimits();
    }
    if (wanted.UseSizeLimits != VARIANT_FALSE) {
        m_searcher.SetSizeLimits(wanted.SizeFrom, wanted.SizeTill);
    } else {
        m_searcher.ClearSizeLimits();
    }
    if (wanted.UnrestrictedExtentions != nullptr) {
        m_searcher.SetUnrestrictedExtensions(automation::TextOf(wanted.UnrestrictedExtentions));
    }
    m_searcher.Search(dataFile, automation::TextOf(wanted.rootPath),
                      automation::TextOf(wanted.FileNamePattern));
}

// Earlier contents of the record are overwritten, not freed.
HRESULT CCoOibTDFSearchTask::GetResult(INT index, SearchResult* srchResult) {
    return Unlocked([&]() -> HRESULT {
        if (srchResult == nullptr) {
            return E_INVALIDARG;
        }
        std::u16string_view fileName;
        double modifyTime = 0;
        std::int64_t size = 0;
        m_searcher.GetResultRecord(index, fileName, modifyTime, size);
        *srchResult = {automation::NewBstr(fileName), modifyTime, size, nullptr};
        return S_OK;
    });
}

HRESULT CCoOibTDFSearchTask::get_ResultsCount(INT* pCount) {
    return Unlocked([&] { return frame::ReturnNumber<INT>(m_searcher.GetResultsCount(), pCount); });
}

}  // namespace coClasses
