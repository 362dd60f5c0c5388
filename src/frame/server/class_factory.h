#pragma once

#include "automation/automation.h"

namespace server {

// Creates the library object, aggregated if `outer` is not null; then `iid` must be IUnknown
// (CLASS_E_NOAGGREGATION). E_POINTER for a null `object`.
HRESULT CreateLibraryObject(IUnknown* outer, REFIID iid, void** object) noexcept;

// The process-wide class factory of COibIdxLib. It exists as long as the module is loaded and
// does not count as an object that keeps the module loaded.
IClassFactory& LibraryClassFactory() noexcept;

}  // namespace server
