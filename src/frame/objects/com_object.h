// The base class of all automation objects of the library, and functions for their methods.
#pragma once

#include <atomic>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>

#include "automation/automation.h"
#include "automation/com_ptr.h"
#include "automation/dispatch.h"
#include "frame/errors.h"
#include "frame/objects/boundary.h"
#include "frame/objects/interface_tables.h"
#include "frame/objects/module.h"

namespace frame {

// Whether the interface of `table`, or an interface that it derives from, has the
// identifier `iid`.
bool TableImplements(const automation::InterfaceTable& table, REFIID iid) noexcept;

// The base class of an automation object with one dual interface. Implements the reference
// count, the module's lock, IDispatch through the interface's table,
// ISupportErrorInfo and the call frame of the methods. A new object has one reference, which
// CreateInstance below passes to its caller.
template <class TInterface>
class CCoObject : public TInterface, public ISupportErrorInfo {
public:
    CCoObject(const CCoObject&) = delete;
    CCoObject& operator=(const CCoObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        return InnerQueryInterface(iid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return InnerAddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return InnerRelease(); }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        return RunAtBoundary(m_source, nullptr,
                             [&] { return automation::DispatchGetTypeInfoCount(Table(), count); });
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override {
        return RunAtBoundary(m_source, nullptr, [&] {
            return automation::DispatchGetTypeInfo(Table(), index, locale, info);
        });
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count,
                                            LCID locale, DISPID* ids) override {
        return RunAtBoundary(m_source, nullptr, [&] {
            return automation::DispatchGetIDsOfNames(Table(), reserved, names, count, locale, ids);
        });
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags,
                                     DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                     UINT* badArgument) override {
        return RunAtBoundary(m_source, nullptr, [&] {
            return automation::DispatchInvoke(Table(), static_cast<TInterface*>(this), id, reserved,
                                              locale, flags, params, result, exception,
                                              badArgument);
        });
    }

    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override {
        return iid == automation::InterfaceTraits<TInterface>::kIid ? S_OK : S_FALSE;
    }

protected:
    // `errorIid` is the interface identifier in the object's error information.
    explicit CCoObject(const IID& errorIid = automation::InterfaceTraits<TInterface>::kIid,
                       LPCOLESTR progId = nullptr) noexcept
        : m_source{&errorIid, progId} {}
    virtual ~CCoObject() = default;

    // Runs a method under the object's lock.
    template <class Body>
    HRESULT Locked(Body&& body) noexcept {
        return RunAtBoundary(m_source, &m_lock, body);
    }
    // Runs a method of an object that only one thread uses at a time.
    template <class Body>
    HRESULT Unlocked(Body&& body) noexcept {
        return RunAtBoundary(m_source, nullptr, body);
    }

    HRESULT InnerQueryInterface(REFIID iid, void** object) noexcept {
        if (object == nullptr) {
            return E_POINTER;
        }
        *object = nullptr;
        if (iid == IID_IUnknown || iid == IID_IDispatch || TableImplements(Table(), iid)) {
            *object = static_cast<TInterface*>(this);
        } else if (iid == IID_ISupportErrorInfo) {
            *object = static_cast<ISupportErrorInfo*>(this);
        } else {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG InnerAddRef() noexcept { return ++m_references; }
    ULONG InnerRelease() noexcept {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }

private:
    static const automation::InterfaceTable& Table() noexcept { return TableOf<TInterface>(); }

    CModuleLock m_moduleLock;
    CErrorSource m_source;
    std::atomic<ULONG> m_references{1};
    std::mutex m_lock;
};

// Creates an automation object. Throws CComExc (E_OUTOFMEMORY) if there is not enough memory.
// Adds `message` in front of this exception and of a CExc from the object's constructor.
template <class TObject, class... Args>
automation::CComPtr<TObject> CreateInstance(std::u16string_view message, Args&&... args) {
    return WithContext(message, {}, [&] {
        auto* object = new (std::nothrow) TObject(std::forward<Args>(args)...);
        if (object == nullptr) {
            throw CComExc(E_OUTOFMEMORY);
        }
        return automation::CComPtr<TObject>::Attach(object);
    });
}

// Whether at least one of a method's pointer arguments is null.
template <class... T>
bool AnyNull(const T*... arguments) noexcept {
    return (... || (arguments == nullptr));
}

// Stores the object's interface in `out` with a reference for the caller. E_POINTER for a
// null `out`.
template <class TInterface, class TObject>
HRESULT ReturnInterface(const automation::CComPtr<TObject>& object, TInterface** out) noexcept {
    return object->QueryInterface(automation::InterfaceTraits<TInterface>::kIid,
                                  reinterpret_cast<void**>(out));
}

// Stores `value` in `out`. E_POINTER for a null `out`.
template <class T>
HRESULT ReturnNumber(T value, T* out) noexcept {
    if (out == nullptr) {
        return E_POINTER;
    }
    *out = value;
    return S_OK;
}

}  // namespace frame
