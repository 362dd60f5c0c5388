#pragma once

#include "platform/automation.h"

namespace server {

// Registers and unregisters the class with the system. There is no registry on Linux:
// clients create the object through the module's exports, and both answer E_NOTIMPL.
HRESULT RegisterServer() noexcept;
HRESULT UnregisterServer() noexcept;

}  // namespace server
