#include "tdf/binary_search/co_oib_bdf_search_task.h"

#include "automation/bstr.h"

namespace coClasses {

namespace {

void SetIfGiven(std::u16string& criterion, BSTR text) {
    if (text != nullptr) {
        criterion = automation::TextOf(text);
    }
}

// Criteria that `wanted` does not give keep the values of earlier searches.
void AddTo(tdf::SearchCriteria& criteria, const SearchSpec& wanted) {
    SetIfGiven(criteria.rootPath, wanted.rootPath);
    SetIfGiven(criteria.namePattern, wanted.FileNamePattern);
    SetIfGiven(criteria.owner, wanted.Owner);
    if (wanted.UseTimeLimits != VARIANT_FALSE) {
        criteria.timeLimits = {wanted.ModifyTimeFrom, wanted.ModifyTimeTill};
    }
    if (wanted.UseSizeLimits != VARIANT_FALSE) {
        criteria.sizeLimits = {wanted.SizeFrom, wanted.SizeTill};
    }
    if (wanted.UseSearchServerRule != VARIANT_FALSE) {
        criteria.starRule = tdf::EStarRule::LeadingStar;
    }
    SetIfGiven(criteria.permittedExtensions, wanted.UnrestrictedExtentions);
}

}  // namespace

// Errors carry the identifier of IOibTDFSearchTask. Kept for compatibility.
CCoOibBDFSearchTask::CCoOibBDFSearchTask(std::u16string_view dataPath)
    : CCoObject(IID_IOibTDFSearchTask), m_searcher(tdf::LoadVolumes(dataPath)) {}

HRESULT CCoOibBDFSearchTask::Find(SearchSpec* srchSpec) {
    return Unlocked([&]() -> HRESULT {
        if (srchSpec == nullptr) {
            return E_INVALIDARG;
        }
        AddTo(m_searcher.Criteria(), *srchSpec);
        m_searcher.Search();
        return S_OK;
    });
}

// Earlier contents of the record are overwritten, not freed.
HRESULT CCoOibBDFSearchTask::GetResult(INT index, SearchResult* srchResult) {
    return Unlocked([&]() -> HRESULT {
        if (srchResult == nullptr) {
            return E_INVALIDARG;
        }
        m_searcher.GetResultRecord(index, m_record);
        automation::CBstr fileName(automation::NewBstr(m_record.fileName));
        automation::CBstr owner(automation::NewBstr(m_record.owner));
        *srchResult = {fileName.Detach(), m_record.modifyTime, m_record.size, owner.Detach()};
        return S_OK;
    });
}

HRESULT CCoOibBDFSearchTask::get_ResultsCount(INT* pCount) {
    return Unlocked([&] { return frame::ReturnNumber<INT>(m_searcher.GetResultsCount(), pCount); });
}

}  // namespace coClasses
