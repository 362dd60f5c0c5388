#pragma once

#include "automation/module_setup.h"

namespace server {

// Registers and unregisters the class, its application identifier and the type library
// with the system, under the system's locale. Returns the first failure and stops there;
// the entries written before it remain, and the next registration replaces them.
HRESULT RegisterServer(automation::IModuleSetup& setup) noexcept;
HRESULT UnregisterServer(automation::IModuleSetup& setup) noexcept;

}  // namespace server
