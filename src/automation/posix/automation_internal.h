// What the automation calls of this port share beyond the public header. Nothing here
// throws; memory that cannot be had is a null pointer or E_OUTOFMEMORY.
#pragma once

#include <cstddef>

#include "automation/automation.h"

namespace automation::detail {

// Bytes of a plain value of the type, without VT_ARRAY or VT_BYREF; 0 for a type that
// arrays do not hold.
ULONG ValueSize(VARTYPE type) noexcept;

// Both accept null, which gives null.
BSTR CopyBstr(BSTR text) noexcept;
bool CopyFailed(BSTR source, BSTR copy) noexcept;

// `target` is overwritten, not cleared; by-reference content stays shared.
HRESULT CopyVariant(VARIANT& target, const VARIANT& source) noexcept;
// Null gives null. The copy is not locked.
HRESULT CopySafeArray(const SAFEARRAY* source, SAFEARRAY** copy) noexcept;

// Names of methods, parameters and fields: letter case of A to Z does not count.
bool EqualNames(const char16_t* a, const char16_t* b) noexcept;

}  // namespace automation::detail
