#include <atomic>
#include <new>

#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "automation/posix/automation_internal.h"

namespace {

// Error information, written through ICreateErrorInfo and read through IErrorInfo. It is
// complete before other threads can have it, so only the reference count is atomic.
class CErrorInfo final : public ICreateErrorInfo, public IErrorInfo {
public:
    HRESULT QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        if (iid == IID_IErrorInfo) {
            *object = static_cast<IErrorInfo*>(this);
        } else if (iid == IID_ICreateErrorInfo || iid == IID_IUnknown) {
            *object = static_cast<ICreateErrorInfo*>(this);
        } else {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    HRESULT SetGUID(REFGUID guid) override {
        m_guid = guid;
        return S_OK;
    }
    HRESULT SetSource(LPOLESTR source) override { return Store(m_source, source); }
    HRESULT SetDescription(LPOLESTR text) override { return Store(m_description, text); }
    HRESULT SetHelpFile(LPOLESTR file) override { return Store(m_helpFile, file); }
    HRESULT SetHelpContext(DWORD context) override {
        m_helpContext = context;
        return S_OK;
    }

    HRESULT GetGUID(GUID* guid) override { return Return(m_guid, guid); }
    HRESULT GetSource(BSTR* source) override { return Return(m_source, source); }
    HRESULT GetDescription(BSTR* text) override { return Return(m_description, text); }
    HRESULT GetHelpFile(BSTR* file) override { return Return(m_helpFile, file); }
    HRESULT GetHelpContext(DWORD* context) override { return Return(m_helpContext, context); }

private:
    ~CErrorInfo() = default;

    // A null text means "not set".
    static HRESULT Store(automation::CBstr& field, const OLECHAR* text) {
        automation::CBstr copy(SysAllocString(text));
        if (text != nullptr && !copy) {
            return E_OUTOFMEMORY;
        }
        field = std::move(copy);
        return S_OK;
    }
    static HRESULT Return(const automation::CBstr& field, BSTR* text) {
        if (text == nullptr) {
            return E_INVALIDARG;
        }
        *text = automation::detail::CopyBstr(field.Get());
        return automation::detail::CopyFailed(field.Get(), *text) ? E_OUTOFMEMORY : S_OK;
    }
    template <class T>
    static HRESULT Return(const T& field, T* value) {
        if (value == nullptr) {
            return E_INVALIDARG;
        }
        *value = field;
        return S_OK;
    }

    std::atomic<ULONG> m_references{1};
    GUID m_guid = GUID_NULL;
    automation::CBstr m_source;
    automation::CBstr m_description;
    automation::CBstr m_helpFile;
    DWORD m_helpContext = 0;
};

// The error information of the calling thread.
thread_local automation::CComPtr<IErrorInfo> t_errorInfo;

}  // namespace

extern "C" {

ZOREL_EXPORT HRESULT CreateErrorInfo(ICreateErrorInfo** info) {
    if (info == nullptr) {
        return E_INVALIDARG;
    }
    *info = new (std::nothrow) CErrorInfo();
    return *info == nullptr ? E_OUTOFMEMORY : S_OK;
}

ZOREL_EXPORT HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) {
    if (reserved != 0 || info == nullptr) {
        return E_INVALIDARG;
    }
    *info = t_errorInfo.Detach();
    return *info == nullptr ? S_FALSE : S_OK;
}

ZOREL_EXPORT HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) {
    if (reserved != 0) {
        return E_INVALIDARG;
    }
    t_errorInfo = automation::CComPtr<IErrorInfo>(info);
    return S_OK;
}

}  // extern "C"
