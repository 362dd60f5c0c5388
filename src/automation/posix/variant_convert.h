// Conversion of values from one automation type to another.
#pragma once

#include "automation/interface_table.h"
#include "automation/variant.h"

namespace automation::detail {

// A view of `given` without VT_BYREF. It owns nothing and is valid as long as the content of
// `given`. DISP_E_TYPEMISMATCH for a null or unsupported reference.
HRESULT Dereference(const VARIANT& given, VARIANT& view) noexcept;

// Converts as VariantChangeType does without flags, for the neutral locale. `source` is
// not by reference; `type` is one of VT_I4, VT_UI4, VT_I8, VT_UI8, VT_UI2, VT_BOOL,
// VT_DATE and VT_BSTR. On failure `result` is unchanged. Throws std::bad_alloc.
HRESULT ConvertVariant(const VARIANT& source, VARTYPE type, CVariant& result);

}  // namespace automation::detail
