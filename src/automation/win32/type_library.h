// The type library of this module.
#pragma once

#include <string>

#include "automation/automation.h"
#include "automation/com_ptr.h"

namespace automation::win32 {

// Both functions throw std::bad_alloc only.
HRESULT OwnModulePath(std::u16string& path);

// Loads the type library from the module's resources, or otherwise from the file with the same
// name and the extension .tlb, and stores the path of the file used in `loadedPath` unless
// null. Does not register it.
HRESULT LoadTypeLibraryOf(const std::u16string& modulePath, CComPtr<ITypeLib>& library,
                          std::u16string* loadedPath = nullptr);

}  // namespace automation::win32
