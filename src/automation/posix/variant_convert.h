// Values of one automation type made into another.
#pragma once

#include "automation/interface_table.h"
#include "automation/variant.h"

namespace automation::detail {

// A view of `given` without VT_BYREF; it owns nothing and lives as long as `given`'s
// content. DISP_E_TYPEMISMATCH where a reference leads nowhere.
HRESULT Dereference(const VARIANT& given, VARIANT& view) noexcept;

// Converts as VariantChangeType does without flags, for the neutral locale. `source` is
// not by reference; `type` is one of VT_I4, VT_UI4, VT_I8, VT_UI8, VT_UI2, VT_BOOL,
// VT_DATE and VT_BSTR. On failure `result` stays unchanged. Throws std::bad_alloc.
HRESULT ConvertVariant(const VARIANT& source, VARTYPE type, CVariant& result);

}  // namespace automation::detail
