#pragma once

#include <memory>

#include "frame/objects/com_object.h"
#include "mtf/publications/publication.h"

namespace coClasses {

// IMtfPublicationMetaFileReader. The objects that it returns share its publication and may
// outlive it.
class CCoMtfPublicationMetaFileReader final
    : public frame::CCoObject<IMtfPublicationMetaFileReader> {
public:
    explicit CCoMtfPublicationMetaFileReader(
        std::shared_ptr<mtf::CPublication> publication) noexcept
        : m_publication(std::move(publication)) {}

    HRESULT STDMETHODCALLTYPE get_OrderingInfo(IMtfPublicationOrderingInfo** ppInfo) override;
    HRESULT STDMETHODCALLTYPE get_CmdCount(INT* pCount) override;
    // Here cmdId is a position.
    HRESULT STDMETHODCALLTYPE GetCmdType(INT cmdId, BSTR* pCmdType) override;
    HRESULT STDMETHODCALLTYPE
    get_AddBSessionCmdAccessor(IMtfAddBSessionCmdAccessor** ppAccessor) override;
    HRESULT STDMETHODCALLTYPE get_MetaFile(IMtfMetaFile** ppMetaFile) override;

private:
    std::shared_ptr<mtf::CPublication> m_publication;
};

}  // namespace coClasses
