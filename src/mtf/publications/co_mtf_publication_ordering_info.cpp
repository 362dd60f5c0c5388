#include "mtf/publications/co_mtf_publication_ordering_info.h"

#include "automation/bstr.h"

namespace coClasses {

HRESULT ReturnOrderingInfo(std::shared_ptr<const mtf::CPubOrderingInfo> info,
                           IMtfPublicationOrderingInfo** out) {
    const auto object = frame::CreateInstance<CCoMtfPublicationOrderingInfo>(
        u"Instance of the CCoMtfPublicationOrderingInfo cannot be initialized.", std::move(info));
    return frame::ReturnInterface(object, out);
}

HRESULT CCoMtfPublicationOrderingInfo::get_PubLocalTime(BSTR* pLocalTime) {
    return Locked([&]() -> HRESULT {
        if (pLocalTime == nullptr) {
            return E_INVALIDARG;
        }
        *pLocalTime = automation::NewBstr(m_info->localTime);
        return S_OK;
    });
}

HRESULT CCoMtfPublicationOrderingInfo::get_PubUtcTime(BSTR* pUtcTime) {
    return Locked([&]() -> HRESULT {
        if (pUtcTime == nullptr) {
            return E_INVALIDARG;
        }
        *pUtcTime = automation::NewBstr(m_info->utcTime);
        return S_OK;
    });
}

}  // namespace coClasses
