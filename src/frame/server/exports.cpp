// The module's entry points.
#include "frame/module.h"
#include "platform/automation.h"
#include "platform/export.h"
#include "server/class_factory.h"
#include "server/registration.h"

extern "C" {

ZOREL_EXPORT HRESULT DllGetClassObject(const CLSID& clsid, const IID& iid, void** ppv) {
    if (ppv == nullptr) {
        return E_POINTER;
    }
    *ppv = nullptr;
    if (!(clsid == CLSID_COibIdxLib)) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    return server::LibraryClassFactory().QueryInterface(iid, ppv);
}

ZOREL_EXPORT HRESULT DllCanUnloadNow() {
    return frame::ModuleCanUnload() ? S_OK : S_FALSE;
}

ZOREL_EXPORT HRESULT DllRegisterServer() {
    return server::RegisterServer(platform::ModuleSetup());
}

ZOREL_EXPORT HRESULT DllUnregisterServer() {
    return server::UnregisterServer(platform::ModuleSetup());
}

ZOREL_EXPORT HRESULT CreateOibIdxLib(IUnknown* outer, const IID* iid, void** ppv) {
    if (iid == nullptr) {
        return E_INVALIDARG;
    }
    return server::CreateLibraryObject(outer, *iid, ppv);
}

}  // extern "C"
