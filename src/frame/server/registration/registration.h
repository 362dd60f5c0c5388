#pragma once

#include "automation/module_setup.h"

namespace server {

// Register and unregister the class, its application identifier and the type library with
// the system. The thread has the system's locale during the call. Both stop at the first
// failure and return it; entries written before the failure remain, and the next registration
// replaces them.
HRESULT RegisterServer(automation::IModuleSetup& setup) noexcept;
HRESULT UnregisterServer(automation::IModuleSetup& setup) noexcept;

}  // namespace server
