// Functions that the automation calls share. None throws; a lack of memory gives a null
// pointer or E_OUTOFMEMORY.
#pragma once

#include <cstddef>

#include "automation/automation.h"

namespace automation::detail {

// The size in bytes of a value of the type, without VT_ARRAY and VT_BYREF; 0 for a type that
// cannot be in an array.
ULONG ValueSize(VARTYPE type) noexcept;

// A copy of a string; null for null and for a lack of memory, which CopyFailed distinguishes.
BSTR CopyBstr(BSTR text) noexcept;
bool CopyFailed(const OLECHAR* source, const OLECHAR* copy) noexcept;

// `target` is overwritten, not cleared. By-reference content is shared.
HRESULT CopyVariant(VARIANT& target, const VARIANT& source) noexcept;
// Null for null. The copy is not locked.
HRESULT CopySafeArray(const SAFEARRAY* source, SAFEARRAY** copy) noexcept;

}  // namespace automation::detail
