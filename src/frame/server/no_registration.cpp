// The entry points of registration on a system that has none: clients create the library
// object through the module's exports.
#include "automation/automation.h"
#include "frame/errors.h"
#include "frame/objects/boundary.h"

namespace {

HRESULT Refuse() noexcept {
    return frame::RunAtBoundary({&CLSID_COibIdxLib, nullptr}, nullptr,
                                []() -> HRESULT { throw frame::CComExc(E_NOTIMPL); });
}

}  // namespace

extern "C" {

ZOREL_EXPORT HRESULT DllRegisterServer() {
    return Refuse();
}

ZOREL_EXPORT HRESULT DllUnregisterServer() {
    return Refuse();
}

}  // extern "C"
