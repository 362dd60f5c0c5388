#include "frame/server/class_factory.h"

#include <new>

#include "frame/objects/module.h"
#include "frame/server/co_oib_idx_lib.h"

namespace server {

namespace {

class CLibraryClassFactory final : public IClassFactory {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (object == nullptr) {
            return E_POINTER;
        }
        const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
        *object = known ? static_cast<IClassFactory*>(this) : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    // The factory has static storage duration: references are not counted.
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        return CreateLibraryObject(outer, iid, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
        if (lock != FALSE) {
            frame::ModuleLock();
        } else {
            frame::ModuleUnlock();
        }
        return S_OK;
    }
};

}  // namespace

HRESULT CreateLibraryObject(IUnknown* outer, REFIID iid, void** object) noexcept {
    if (object == nullptr) {
        return E_POINTER;
    }
    *object = nullptr;
    if (outer != nullptr && !(iid == IID_IUnknown)) {
        return CLASS_E_NOAGGREGATION;
    }
    auto* library = new (std::nothrow) coClasses::CCoOibIdxLib(outer);
    if (library == nullptr) {
        return E_OUTOFMEMORY;
    }
    IUnknown* inner = library->Inner();
    const HRESULT hr = inner->QueryInterface(iid, object);
    inner->Release();
    return hr;
}

IClassFactory& LibraryClassFactory() noexcept {
    static CLibraryClassFactory factory;
    return factory;
}

}  // namespace server
