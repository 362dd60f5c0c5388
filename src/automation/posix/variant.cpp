#include "automation/posix/automation_internal.h"

namespace {

constexpr VARTYPE kModifiers = VT_ARRAY | VT_BYREF;

// Whether a VARIANT can hold the type.
bool IsVariantType(VARTYPE type) {
    const VARTYPE base = type & VT_TYPEMASK;
    if ((type & ~(VT_TYPEMASK | kModifiers)) != 0) {
        return false;
    }
    if (base == VT_EMPTY || base == VT_NULL) {
        return (type & kModifiers) == 0;
    }
    if (base == VT_VARIANT) {
        return (type & kModifiers) != 0;
    }
    return (base <= VT_DECIMAL) || (base >= VT_I1 && base <= VT_UINT) || base == VT_RECORD;
}

HRESULT ReleaseContent(VARIANT& variant) {
    if ((variant.vt & VT_BYREF) != 0) {
        return S_OK;
    }
    if ((variant.vt & VT_ARRAY) != 0) {
        return SafeArrayDestroy(variant.parray);
    }
    switch (variant.vt) {
        case VT_BSTR:
            SysFreeString(variant.bstrVal);
            break;
        case VT_UNKNOWN:
        case VT_DISPATCH:
            if (variant.punkVal != nullptr) {
                variant.punkVal->Release();
            }
            break;
        case VT_RECORD:
            if (variant.pRecInfo != nullptr) {
                if (variant.pvRecord != nullptr) {
                    variant.pRecInfo->RecordDestroy(variant.pvRecord);
                }
                variant.pRecInfo->Release();
            }
            break;
        default:
            break;
    }
    return S_OK;
}

}  // namespace

extern "C" {

ZOREL_EXPORT void VariantInit(VARIANTARG* variant) {
    if (variant != nullptr) {
        *variant = VARIANT{};
    }
}

ZOREL_EXPORT HRESULT VariantClear(VARIANTARG* variant) {
    if (variant == nullptr) {
        return E_INVALIDARG;
    }
    if (!IsVariantType(variant->vt)) {
        return DISP_E_BADVARTYPE;
    }
    const HRESULT hr = ReleaseContent(*variant);
    if (SUCCEEDED(hr)) {
        *variant = VARIANT{};
    }
    return hr;
}

}  // extern "C"

namespace automation::detail {

HRESULT CopyVariant(VARIANT& target, const VARIANT& source) noexcept {
    if (!IsVariantType(source.vt)) {
        return DISP_E_BADVARTYPE;
    }
    VARIANT copy = source;
    HRESULT hr = S_OK;
    if ((source.vt & VT_BYREF) != 0) {
        // The content is shared.
    } else if ((source.vt & VT_ARRAY) != 0) {
        hr = CopySafeArray(source.parray, &copy.parray);
    } else if (source.vt == VT_BSTR) {
        copy.bstrVal = CopyBstr(source.bstrVal);
        hr = CopyFailed(source.bstrVal, copy.bstrVal) ? E_OUTOFMEMORY : S_OK;
    } else if ((source.vt == VT_UNKNOWN || source.vt == VT_DISPATCH) && source.punkVal != nullptr) {
        source.punkVal->AddRef();
    } else if (source.vt == VT_RECORD && source.pRecInfo != nullptr) {
        if (source.pvRecord != nullptr) {
            hr = source.pRecInfo->RecordCreateCopy(source.pvRecord, &copy.pvRecord);
        }
        if (SUCCEEDED(hr)) {
            source.pRecInfo->AddRef();
        }
    }
    if (SUCCEEDED(hr)) {
        target = copy;
    }
    return hr;
}

}  // namespace automation::detail
