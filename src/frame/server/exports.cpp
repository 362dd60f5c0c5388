// The module's entry points.
#include "automation/automation.h"
#include "frame/objects/module.h"
#include "frame/server/class_factory.h"

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

ZOREL_EXPORT HRESULT CreateOibIdxLib(IUnknown* outer, const IID* iid, void** ppv) {
    if (iid == nullptr) {
        return E_INVALIDARG;
    }
    return server::CreateLibraryObject(outer, *iid, ppv);
}

}  // extern "C"
