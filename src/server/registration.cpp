#include "server/registration.h"

namespace server {

HRESULT RegisterServer() noexcept {
    return E_NOTIMPL;
}
HRESULT UnregisterServer() noexcept {
    return E_NOTIMPL;
}

}  // namespace server
