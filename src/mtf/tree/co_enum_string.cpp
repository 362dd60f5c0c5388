#include "mtf/tree/co_enum_string.h"

#include <algorithm>

#include "automation/bstr.h"
#include "frame/objects/com_object.h"

namespace coClasses {

namespace {

constexpr frame::CErrorSource kSource{&IID_IEnumString, nullptr};

}  // namespace

HRESULT CCoEnumString::QueryInterface(REFIID iid, void** object) {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    if (iid == IID_IUnknown || iid == IID_IEnumString) {
        *object = static_cast<IEnumString*>(this);
    } else if (iid == IID_ISupportErrorInfo) {
        *object = static_cast<ISupportErrorInfo*>(this);
    } else {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

ULONG CCoEnumString::Release() {
    const ULONG left = --m_references;
    if (left == 0) {
        delete this;
    }
    return left;
}

HRESULT CCoEnumString::Next(ULONG count, LPOLESTR* strings, ULONG* fetched) {
    return frame::RunAtBoundary(kSource, &m_lock, [&]() -> HRESULT {
        if (strings == nullptr || (count != 1 && fetched == nullptr)) {
            return E_POINTER;
        }
        return CopyNext(count, strings, fetched);
    });
}

// When memory runs out, no string is returned and the position does not change.
HRESULT CCoEnumString::CopyNext(ULONG count, LPOLESTR* strings, ULONG* fetched) {
    const std::uint64_t left = m_list->size() - m_position;
    const auto copied = static_cast<ULONG>(std::min<std::uint64_t>(count, left));
    std::vector<automation::CBstr> copies(copied);
    for (ULONG i = 0; i < copied; ++i) {
        copies[i].Reset(automation::NewBstr((*m_list)[static_cast<std::size_t>(m_position) + i]));
    }
    for (ULONG i = 0; i < copied; ++i) {
        strings[i] = copies[i].Detach();
    }
    m_position += copied;
    if (fetched != nullptr) {
        *fetched = copied;
    }
    return copied == count ? S_OK : S_FALSE;
}

HRESULT CCoEnumString::Skip(ULONG count) {
    return frame::RunAtBoundary(kSource, &m_lock, [&] {
        const std::uint64_t size = m_list->size();
        m_position = std::min(m_position + count, size);
        return m_position == size ? S_FALSE : S_OK;
    });
}

HRESULT CCoEnumString::Reset() {
    return frame::RunAtBoundary(kSource, &m_lock, [&] {
        m_position = 0;
        return S_OK;
    });
}

HRESULT CCoEnumString::Clone(IEnumString** copy) {
    return frame::RunAtBoundary(kSource, &m_lock, [&] {
        const auto object = frame::CreateInstance<CCoEnumString>(
            u"Instance of the CCoEnumString() cannot be initialized.", m_list);
        return object->QueryInterface(IID_IEnumString, reinterpret_cast<void**>(copy));
    });
}

}  // namespace coClasses
