#pragma once

#include "automation/module_setup.h"

namespace server {

// Registers and unregisters the class, its application identifier and the type library
// with the system, under the system's locale. The first failure ends the work and is the
// result; what was written before it stays and is replaced by the next registration.
// Clients on Linux create the object through the module's exports, and the setup of that
// system answers E_NOTIMPL.
HRESULT RegisterServer(automation::IModuleSetup& setup) noexcept;
HRESULT UnregisterServer(automation::IModuleSetup& setup) noexcept;

}  // namespace server
