// The type library that this module carries.
#pragma once

#include <string>

#include "automation/automation.h"
#include "automation/com_ptr.h"

namespace automation::win32 {

// Throw std::bad_alloc and nothing else.
HRESULT OwnModulePath(std::u16string& path);

// Loads the library out of the module, or else out of the file beside it that differs from
// it in its extension .tlb; `place`, if given, tells which. Registers nothing.
HRESULT LoadTypeLibraryOf(const std::u16string& modulePath, CComPtr<ITypeLib>& library,
                          std::u16string* place = nullptr);

}  // namespace automation::win32
