#pragma once

#include <memory>

#include "frame/objects/com_object.h"
#include "mtf/publications/publication.h"

namespace coClasses {

// IMtfPublicationOrderingInfo over shared records.
class CCoMtfPublicationOrderingInfo final : public frame::CCoObject<IMtfPublicationOrderingInfo> {
public:
    explicit CCoMtfPublicationOrderingInfo(
        std::shared_ptr<const mtf::CPubOrderingInfo> info) noexcept
        : m_info(std::move(info)) {}

    HRESULT STDMETHODCALLTYPE get_PubLocalTime(BSTR* pLocalTime) override;
    HRESULT STDMETHODCALLTYPE get_PubUtcTime(BSTR* pUtcTime) override;

private:
    std::shared_ptr<const mtf::CPubOrderingInfo> m_info;
};

// Returns a new object; E_POINTER for a null `out`.
HRESULT ReturnOrderingInfo(std::shared_ptr<const mtf::CPubOrderingInfo> info,
                           IMtfPublicationOrderingInfo** out);

}  // namespace coClasses
