#pragma once

#include <memory>

#include "frame/objects/com_object.h"
#include "mtf/sessions/bsession_meta_file.h"

namespace coClasses {

// IMtfBSessionMetaFile. Releasing it saves nothing; Close only closes the file that
// mode EIdxMetaOpenRW keeps open.
class CCoMtfBSessionMetaFile final : public frame::CCoObject<IMtfBSessionMetaFile> {
public:
    explicit CCoMtfBSessionMetaFile(std::shared_ptr<mtf::CBSessionMetaFile> file) noexcept
        : m_file(std::move(file)) {}

    HRESULT STDMETHODCALLTYPE DeleteOibRef(GUID pOibId) override;
    HRESULT STDMETHODCALLTYPE EnumOibsRefs(ICatOibRefsEnumerator** ppEnumerator) override;
    HRESULT STDMETHODCALLTYPE FlushChanges() override;
    HRESULT STDMETHODCALLTYPE Close() override;

private:
    std::shared_ptr<mtf::CBSessionMetaFile> m_file;
};

}  // namespace coClasses
