// The entry points of registration.
#include "frame/server/registration/registration.h"

extern "C" {

ZOREL_EXPORT HRESULT DllRegisterServer() {
    return server::RegisterServer(automation::ModuleSetup());
}

ZOREL_EXPORT HRESULT DllUnregisterServer() {
    return server::UnregisterServer(automation::ModuleSetup());
}

}  // extern "C"
