// What all automation objects of the library have in common.
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

// Whether `table`'s interface or one that it derives from has the identifier `iid`.
bool TableImplements(const automation::InterfaceTable& table, REFIID iid) noexcept;

// The base of an automation object with one dual interface: reference count, module
// count, IDispatch by the interface's table, ISupportErrorInfo, and the call frame for its
// methods. Born with one reference, which CreateInstance below hands to its caller.
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
    // `errorIid` is the identifier that the object's error information carries.
    explicit CCoObject(const IID& errorIid = automation::InterfaceTraits<TInterface>::kIid,
                       LPCOLESTR progId = nullptr) noexcept
        : m_source{&errorIid, progId} {}
    virtual ~CCoObject() = default;

    // Runs a method under the object's lock.
    template <class Body>
    HRESULT Locked(Body&& body) noexcept {
        return RunAtBoundary(m_source, &m_lock, body);
    }
    // Runs a method of an object that belongs to one thread at a time.
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

    CModuleObjectCount m_moduleCount;
    CErrorSource m_source;
    std::atomic<ULONG> m_references{1};
    std::mutex m_lock;
};

// Creates an automation object. Memory that cannot be had is a CComExc; a CExc from there
// or from the object's constructor gets `message` in front.
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

// Whether one of a method's pointer arguments is null.
template <class... T>
bool AnyNull(const T*... arguments) noexcept {
    return (... || (arguments == nullptr));
}

// Hands the object out through its own query: E_POINTER for a null `out`.
template <class TInterface, class TObject>
HRESULT ReturnInterface(const automation::CComPtr<TObject>& object, TInterface** out) noexcept {
    return object->QueryInterface(automation::InterfaceTraits<TInterface>::kIid,
                                  reinterpret_cast<void**>(out));
}

}  // namespace frame
