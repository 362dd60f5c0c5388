#pragma once

#include "automation/automation.h"

namespace server {

// Creates the library object, aggregated when `outer` is given; then `iid` must be
// IUnknown (CLASS_E_NOAGGREGATION). Null `object` gives E_POINTER.
HRESULT CreateLibraryObject(IUnknown* outer, REFIID iid, void** object) noexcept;

// The process-wide class factory of COibIdxLib; lives as long as the module and does not
// keep it loaded.
IClassFactory& LibraryClassFactory() noexcept;

}  // namespace server
