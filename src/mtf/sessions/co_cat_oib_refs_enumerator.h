#pragma once

#include <vector>

#include "frame/objects/com_object.h"
#include "mtf/sessions/bsession_meta_file.h"

namespace coClasses {

// ICatOibRefsEnumerator over a snapshot: later changes to the meta-file do not change it.
class CCoCatOibRefsEnumerator final : public frame::CCoObject<ICatOibRefsEnumerator> {
public:
    explicit CCoCatOibRefsEnumerator(std::vector<mtf::OibRef> refs) noexcept
        : m_refs(std::move(refs)) {}

    HRESULT STDMETHODCALLTYPE get_RefsCount(INT* pCount) override;
    HRESULT STDMETHODCALLTYPE MoveToElem(INT elemIndex) override;
    HRESULT STDMETHODCALLTYPE get_VmName(BSTR* pVmName) override;
    HRESULT STDMETHODCALLTYPE get_BackupTimeUtc(BSTR* pBackupTimeUtc) override;
    HRESULT STDMETHODCALLTYPE get_UniqueId(GUID* pUniqueId) override;
    HRESULT STDMETHODCALLTYPE GetOibRef(INT elemIndex, BSTR* pVmName, BSTR* pBackupTimeUtc,
                                        GUID* pUniqueId) override;

private:
    // Throws CExc (E_FAIL) for an index outside the collection.
    std::size_t CheckedIndex(INT elemIndex) const;
    // Throws CExc (E_FAIL) on an empty collection.
    const mtf::OibRef& Current() const;

    std::vector<mtf::OibRef> m_refs;
    std::size_t m_current = 0;
};

}  // namespace coClasses
