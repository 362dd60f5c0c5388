#include "mtf/co_mtf_publication_ordering_info.h"

#include "platform/bstr.h"

namespace coClasses {

HRESULT HandOutOrderingInfo(std::shared_ptr<const mtf::CPubOrderingInfo> info,
                            IMtfPublicationOrderingInfo** out) {
    const auto object = frame::CreateInstance<CCoMtfPublicationOrderingInfo>(
        u"Instance of the CCoMtfPublicationOrderingInfo cannot be initialized.", std::move(info));
    return frame::HandOut(object, out);
}

HRESULT CCoMtfPublicationOrderingInfo::get_PubLocalTime(BSTR* pLocalTime) {
    return Locked([&]() -> HRESULT {
        if (pLocalTime == nullptr) {
            return E_INVALIDARG;
        }
        *pLocalTime = platform::NewBstr(m_info->localTime);
        return S_OK;
    });
}

HRESULT CCoMtfPublicationOrderingInfo::get_PubUtcTime(BSTR* pUtcTime) {
    return Locked([&]() -> HRESULT {
        if (pUtcTime == nullptr) {
            return E_INVALIDARG;
        }
        *pUtcTime = platform::NewBstr(m_info->utcTime);
        return S_OK;
    });
}

}  // namespace coClasses
