#include "mtf/sessions/co_cat_oib_refs_enumerator.h"

#include "automation/bstr.h"
#include "frame/conversions.h"
#include "frame/errors.h"

namespace coClasses {

std::size_t CCoCatOibRefsEnumerator::CheckedIndex(INT elemIndex) const {
    if (elemIndex < 0 || static_cast<std::size_t>(elemIndex) >= m_refs.size()) {
        throw frame::CExc(
            u"The specified enumerator position (%1) exceeds length of OibReferences collection "
            u"(%2).",
            {frame::IntToString(elemIndex), frame::UInt64ToString(m_refs.size())}, E_FAIL);
    }
    return static_cast<std::size_t>(elemIndex);
}

const mtf::OibRef& CCoCatOibRefsEnumerator::Current() const {
    if (m_current >= m_refs.size()) {
        throw frame::CExc(
            u"The current element pointer is out of the OibReferences collection boundary.",
            E_FAIL);
    }
    return m_refs[m_current];
}

HRESULT CCoCatOibRefsEnumerator::get_RefsCount(INT* pCount) {
    return Locked([&]() -> HRESULT {
        if (pCount == nullptr) {
            return E_INVALIDARG;
        }
        *pCount = static_cast<INT>(m_refs.size());
        return S_OK;
    });
}

HRESULT CCoCatOibRefsEnumerator::MoveToElem(INT elemIndex) {
    return Locked([&] {
        m_current = CheckedIndex(elemIndex);
        return S_OK;
    });
}

HRESULT CCoCatOibRefsEnumerator::get_VmName(BSTR* pVmName) {
    return Locked([&]() -> HRESULT {
        if (pVmName == nullptr) {
            return E_INVALIDARG;
        }
        *pVmName = automation::NewBstr(Current().vmName);
        return S_OK;
    });
}

HRESULT CCoCatOibRefsEnumerator::get_BackupTimeUtc(BSTR* pBackupTimeUtc) {
    return Locked([&]() -> HRESULT {
        if (pBackupTimeUtc == nullptr) {
            return E_INVALIDARG;
        }
        *pBackupTimeUtc = automation::NewBstr(Current().backupTimeUtc);
        return S_OK;
    });
}

HRESULT CCoCatOibRefsEnumerator::get_UniqueId(GUID* pUniqueId) {
    return Locked([&]() -> HRESULT {
        if (pUniqueId == nullptr) {
            return E_INVALIDARG;
        }
        *pUniqueId = Current().uniqueId;
        return S_OK;
    });
}

HRESULT CCoCatOibRefsEnumerator::GetOibRef(INT elemIndex, BSTR* pVmName, BSTR* pBackupTimeUtc,
                                           GUID* pUniqueId) {
    return Locked([&]() -> HRESULT {
        if (frame::AnyNull(pVmName, pBackupTimeUtc, pUniqueId)) {
            return E_INVALIDARG;
        }
        const mtf::OibRef& ref = m_refs[CheckedIndex(elemIndex)];
        automation::CBstr vmName(automation::NewBstr(ref.vmName));
        automation::CBstr backupTimeUtc(automation::NewBstr(ref.backupTimeUtc));
        *pVmName = vmName.Detach();
        *pBackupTimeUtc = backupTimeUtc.Detach();
        *pUniqueId = ref.uniqueId;
        return S_OK;
    });
}

}  // namespace coClasses
