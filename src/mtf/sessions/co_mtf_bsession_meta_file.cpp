#include "mtf/sessions/co_mtf_bsession_meta_file.h"

#include "mtf/sessions/co_cat_oib_refs_enumerator.h"

namespace coClasses {

HRESULT CCoMtfBSessionMetaFile::DeleteOibRef(GUID pOibId) {
    return Locked([&] {
        m_file->DeleteOibRef(pOibId);
        return S_OK;
    });
}

HRESULT CCoMtfBSessionMetaFile::EnumOibsRefs(ICatOibRefsEnumerator** ppEnumerator) {
    return Locked([&]() -> HRESULT {
        if (ppEnumerator == nullptr) {
            return E_INVALIDARG;
        }
        auto refs = m_file->EnumOibRefs();
        const auto enumerator = frame::CreateInstance<CCoCatOibRefsEnumerator>(
            u"Instance of the CCoCatOibRefsEnumerator cannot be initialized.", std::move(refs));
        return frame::ReturnInterface(enumerator, ppEnumerator);
    });
}

HRESULT CCoMtfBSessionMetaFile::FlushChanges() {
    return Locked([&] {
        m_file->Save();
        return S_OK;
    });
}

HRESULT CCoMtfBSessionMetaFile::Close() {
    return Locked([&] {
        m_file->CloseFile();
        return S_OK;
    });
}

}  // namespace coClasses
