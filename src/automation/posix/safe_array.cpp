// An array is a prefix of 16 bytes (the interface identifier, or the element type in its last
// four bytes) and the descriptor with its bounds; the elements are in a separate block.
#include <cstdlib>
#include <cstring>
#include <limits>

#include "automation/posix/automation_internal.h"

namespace {

using automation::detail::CopyBstr;
using automation::detail::CopyFailed;
using automation::detail::CopyVariant;
using automation::detail::ValueSize;

constexpr std::size_t kPrefix = sizeof(GUID);
constexpr ULONG kMaxLocks = 0xFFFF;

USHORT FeaturesOf(VARTYPE type) {
    switch (type) {
        case VT_BSTR:
            return FADF_BSTR | FADF_HAVEVARTYPE;
        case VT_VARIANT:
            return FADF_VARIANT | FADF_HAVEVARTYPE;
        case VT_UNKNOWN:
            return FADF_UNKNOWN | FADF_HAVEIID;
        case VT_DISPATCH:
            return FADF_DISPATCH | FADF_HAVEIID;
        default:
            return FADF_HAVEVARTYPE;
    }
}

char* PrefixOf(SAFEARRAY* array) {
    return reinterpret_cast<char*>(array) - kPrefix;
}

// The descriptor without elements; the bounds are zero.
SAFEARRAY* NewDescriptor(VARTYPE type, UINT dimensions) {
    const std::size_t bytes =
        kPrefix + sizeof(SAFEARRAY) + (dimensions - 1) * sizeof(SAFEARRAYBOUND);
    auto* block = static_cast<char*>(std::calloc(1, bytes));
    if (block == nullptr) {
        return nullptr;
    }
    auto* array = reinterpret_cast<SAFEARRAY*>(block + kPrefix);
    array->cDims = static_cast<USHORT>(dimensions);
    array->fFeatures = FeaturesOf(type);
    array->cbElements = ValueSize(type);
    if ((array->fFeatures & FADF_HAVEIID) != 0) {
        const IID& iid = type == VT_UNKNOWN ? IID_IUnknown : IID_IDispatch;
        std::memcpy(block, &iid, sizeof(iid));
    } else {
        const std::uint32_t stored = type;
        std::memcpy(block + kPrefix - sizeof(stored), &stored, sizeof(stored));
    }
    return array;
}

// All bounds; the descriptor declares one.
SAFEARRAYBOUND* BoundsOf(SAFEARRAY* array) {
    return reinterpret_cast<SAFEARRAYBOUND*>(reinterpret_cast<char*>(array) +
                                             offsetof(SAFEARRAY, rgsabound));
}

// False when the elements would take 4 GiB or more, or an upper bound would not fit.
bool CountElements(const SAFEARRAYBOUND* bounds, UINT dimensions, ULONG elementSize,
                   std::size_t& count) {
    const std::size_t limit = std::numeric_limits<ULONG>::max() / elementSize;
    count = 1;
    for (UINT i = 0; i < dimensions; ++i) {
        const std::size_t elements = bounds[i].cElements;
        const std::int64_t upper =
            std::int64_t{bounds[i].lLbound} + static_cast<std::int64_t>(elements) - 1;
        if (upper > std::numeric_limits<LONG>::max() ||
            (elements != 0 && count > limit / elements)) {
            return false;
        }
        count *= elements;
    }
    return true;
}

std::size_t ElementCount(const SAFEARRAY* array) {
    std::size_t count = 0;
    auto* bounds = BoundsOf(const_cast<SAFEARRAY*>(array));
    CountElements(bounds, array->cDims, array->cbElements, count);
    return count;
}

bool HoldsInterfaces(const SAFEARRAY* array) {
    return (array->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) != 0;
}

// Frees the content of one element; does not change its bytes.
void ReleaseElement(const SAFEARRAY* array, void* element) {
    if ((array->fFeatures & FADF_BSTR) != 0) {
        SysFreeString(*static_cast<BSTR*>(element));
    } else if (HoldsInterfaces(array)) {
        if (IUnknown* object = *static_cast<IUnknown**>(element); object != nullptr) {
            object->Release();
        }
    } else if ((array->fFeatures & FADF_VARIANT) != 0) {
        VariantClear(static_cast<VARIANT*>(element));
    }
}

// Overwrites `target` with a copy of `source` that owns its own content.
HRESULT CopyElement(const SAFEARRAY* array, void* target, const void* source) {
    if ((array->fFeatures & FADF_VARIANT) != 0) {
        return CopyVariant(*static_cast<VARIANT*>(target), *static_cast<const VARIANT*>(source));
    }
    if ((array->fFeatures & FADF_BSTR) != 0) {
        const BSTR text = *static_cast<const BSTR*>(source);
        const BSTR copy = CopyBstr(text);
        if (CopyFailed(text, copy)) {
            return E_OUTOFMEMORY;
        }
        *static_cast<BSTR*>(target) = copy;
        return S_OK;
    }
    std::memcpy(target, source, array->cbElements);
    if (HoldsInterfaces(array)) {
        if (IUnknown* object = *static_cast<IUnknown**>(target); object != nullptr) {
            object->AddRef();
        }
    }
    return S_OK;
}

// indices[0] is the index of the first dimension, which varies fastest.
HRESULT FindElement(SAFEARRAY* array, const LONG* indices, void*& element) {
    const SAFEARRAYBOUND* bounds = BoundsOf(array);
    std::size_t position = 0;
    std::size_t stride = 1;
    for (UINT i = 0; i < array->cDims; ++i) {
        const SAFEARRAYBOUND& bound = bounds[array->cDims - 1 - i];
        const std::int64_t offset = std::int64_t{indices[i]} - bound.lLbound;
        if (offset < 0 || offset >= std::int64_t{bound.cElements}) {
            return DISP_E_BADINDEX;
        }
        position += static_cast<std::size_t>(offset) * stride;
        stride *= bound.cElements;
    }
    element = static_cast<char*>(array->pvData) + position * array->cbElements;
    return S_OK;
}

HRESULT Lock(SAFEARRAY* array) {
    if (array->cLocks == kMaxLocks) {
        return E_UNEXPECTED;
    }
    ++array->cLocks;
    return S_OK;
}

// The argument of SafeArrayPutElement is the string or interface pointer itself, or the address
// of any other value.
const void* AddressOfElement(const SAFEARRAY* array, void*& value) {
    const bool isPointer = (array->fFeatures & FADF_BSTR) != 0 || HoldsInterfaces(array);
    return isPointer ? &value : value;
}

HRESULT BoundOf(SAFEARRAY* array, UINT dimension, const LONG* out, SAFEARRAYBOUND& bound) {
    if (array == nullptr || out == nullptr) {
        return E_INVALIDARG;
    }
    if (dimension == 0 || dimension > array->cDims) {
        return DISP_E_BADINDEX;
    }
    bound = BoundsOf(array)[array->cDims - dimension];
    return S_OK;
}

}  // namespace

extern "C" {

ZOREL_EXPORT SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds) {
    const ULONG size = ValueSize(type);
    std::size_t count = 0;
    if (size == 0 || bounds == nullptr || dimensions == 0 ||
        dimensions > std::numeric_limits<USHORT>::max() ||
        !CountElements(bounds, dimensions, size, count)) {
        return nullptr;
    }
    SAFEARRAY* array = NewDescriptor(type, dimensions);
    if (array == nullptr) {
        return nullptr;
    }
    for (UINT i = 0; i < dimensions; ++i) {
        BoundsOf(array)[dimensions - 1 - i] = bounds[i];
    }
    array->pvData = std::calloc(count == 0 ? 1 : count, size);
    if (array->pvData == nullptr) {
        std::free(PrefixOf(array));
        return nullptr;
    }
    return array;
}

ZOREL_EXPORT SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lowerBound, ULONG elements) {
    SAFEARRAYBOUND bound = {elements, lowerBound};
    return SafeArrayCreate(type, 1, &bound);
}

ZOREL_EXPORT HRESULT SafeArrayDestroy(SAFEARRAY* array) {
    if (array == nullptr) {
        return S_OK;
    }
    if (array->cLocks != 0) {
        return DISP_E_ARRAYISLOCKED;
    }
    const std::size_t count = ElementCount(array);
    for (std::size_t i = 0; i < count; ++i) {
        ReleaseElement(array, static_cast<char*>(array->pvData) + i * array->cbElements);
    }
    std::free(array->pvData);
    std::free(PrefixOf(array));
    return S_OK;
}

ZOREL_EXPORT UINT SafeArrayGetDim(SAFEARRAY* array) {
    return array == nullptr ? 0 : array->cDims;
}

ZOREL_EXPORT HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound) {
    SAFEARRAYBOUND found = {};
    const HRESULT hr = BoundOf(array, dimension, bound, found);
    if (SUCCEEDED(hr)) {
        *bound = found.lLbound;
    }
    return hr;
}

ZOREL_EXPORT HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound) {
    SAFEARRAYBOUND found = {};
    const HRESULT hr = BoundOf(array, dimension, bound, found);
    if (SUCCEEDED(hr)) {
        *bound = static_cast<LONG>(found.lLbound + std::int64_t{found.cElements} - 1);
    }
    return hr;
}

ZOREL_EXPORT HRESULT SafeArrayGetElement(SAFEARRAY* array, LONG* indices, void* value) {
    if (array == nullptr || indices == nullptr || value == nullptr) {
        return E_INVALIDARG;
    }
    void* element = nullptr;
    const HRESULT hr = FindElement(array, indices, element);
    return FAILED(hr) ? hr : CopyElement(array, value, element);
}

ZOREL_EXPORT HRESULT SafeArrayPutElement(SAFEARRAY* array, LONG* indices, void* value) {
    if (array == nullptr || indices == nullptr) {
        return E_INVALIDARG;
    }
    const void* source = AddressOfElement(array, value);
    if (source == nullptr) {
        return E_INVALIDARG;
    }
    void* element = nullptr;
    HRESULT hr = FindElement(array, indices, element);
    if (FAILED(hr)) {
        return hr;
    }
    // Copies before it frees: the new value may be the old one.
    alignas(VARIANT) char fresh[sizeof(VARIANT)];
    hr = CopyElement(array, fresh, source);
    if (SUCCEEDED(hr)) {
        ReleaseElement(array, element);
        std::memcpy(element, fresh, array->cbElements);
    }
    return hr;
}

ZOREL_EXPORT HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type) {
    if (array == nullptr || type == nullptr) {
        return E_INVALIDARG;
    }
    if ((array->fFeatures & FADF_HAVEVARTYPE) != 0) {
        std::uint32_t stored = 0;
        std::memcpy(&stored, PrefixOf(array) + kPrefix - sizeof(stored), sizeof(stored));
        *type = static_cast<VARTYPE>(stored);
    } else {
        *type = (array->fFeatures & FADF_DISPATCH) != 0 ? VT_DISPATCH : VT_UNKNOWN;
    }
    return S_OK;
}

ZOREL_EXPORT HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) {
    if (array == nullptr || data == nullptr) {
        return E_INVALIDARG;
    }
    const HRESULT hr = Lock(array);
    *data = SUCCEEDED(hr) ? array->pvData : nullptr;
    return hr;
}

ZOREL_EXPORT HRESULT SafeArrayUnaccessData(SAFEARRAY* array) {
    if (array == nullptr) {
        return E_INVALIDARG;
    }
    if (array->cLocks == 0) {
        return E_UNEXPECTED;
    }
    --array->cLocks;
    return S_OK;
}

}  // extern "C"

namespace automation::detail {

ULONG ValueSize(VARTYPE type) noexcept {
    switch (type) {
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return 2;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_R4:
        case VT_ERROR:
            return 4;
        case VT_I8:
        case VT_UI8:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
        case VT_BSTR:
        case VT_UNKNOWN:
        case VT_DISPATCH:
            return 8;
        case VT_DECIMAL:
            return 16;
        case VT_VARIANT:
            return sizeof(VARIANT);
        default:
            return 0;
    }
}

HRESULT CopySafeArray(const SAFEARRAY* source, SAFEARRAY** copy) noexcept {
    *copy = nullptr;
    if (source == nullptr) {
        return S_OK;
    }
    auto* original = const_cast<SAFEARRAY*>(source);
    VARTYPE type = VT_EMPTY;
    SafeArrayGetVartype(original, &type);
    SAFEARRAY* array = NewDescriptor(type, source->cDims);
    if (array == nullptr) {
        return E_OUTOFMEMORY;
    }
    std::memcpy(BoundsOf(array), BoundsOf(original), source->cDims * sizeof(SAFEARRAYBOUND));
    const std::size_t count = ElementCount(source);
    array->pvData = std::calloc(count == 0 ? 1 : count, source->cbElements);
    if (array->pvData == nullptr) {
        std::free(PrefixOf(array));
        return E_OUTOFMEMORY;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t offset = i * source->cbElements;
        const HRESULT hr = CopyElement(source, static_cast<char*>(array->pvData) + offset,
                                       static_cast<const char*>(source->pvData) + offset);
        if (FAILED(hr)) {
            SafeArrayDestroy(array);
            return hr;
        }
    }
    *copy = array;
    return S_OK;
}

}  // namespace automation::detail
