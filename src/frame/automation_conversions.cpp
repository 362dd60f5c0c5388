#include "frame/automation_conversions.h"

#include <limits>

#include "frame/conversions.h"
#include "frame/errors.h"

namespace frame {

namespace detail {

automation::CSafeArrayPtr NewStringArray(std::size_t count) {
    automation::CSafeArrayPtr array;
    if (count <= static_cast<std::size_t>(std::numeric_limits<LONG>::max())) {
        array.Reset(::SafeArrayCreateVector(VT_BSTR, 0, static_cast<ULONG>(count)));
    }
    if (!array) {
        throw CExc(u"Cannot allocate SAFEARRAY for \"%1\" strings.", {UInt64ToString(count)},
                   E_FAIL);
    }
    return array;
}

// Stores the string directly: the elements of a new array are null, and SafeArrayPutElement
// would copy the string once more.
void PutString(SAFEARRAY* array, std::size_t index, std::u16string_view text) {
    const BSTR string = ::SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()),
                                            static_cast<UINT>(text.size()));
    if (string == nullptr) {
        throw CComExc(u"Cannot set the %1 element of the safearray.", {UInt64ToString(index)},
                      E_OUTOFMEMORY);
    }
    static_cast<BSTR*>(array->pvData)[index] = string;
}

}  // namespace detail

automation::CSafeArrayPtr StringListToSafeArray(const std::vector<std::u16string>& list) {
    return StringsToSafeArray(list.size(),
                              [&](std::size_t i) { return std::u16string_view(list[i]); });
}

std::vector<std::u16string> SafeArrayToStringList(SAFEARRAY* array) {
    if (array == nullptr || (array->fFeatures & FADF_BSTR) == 0) {
        throw CComExc(u"BSTR expected", E_INVALIDARG);
    }
    if (::SafeArrayGetDim(array) != 1) {
        throw CComExc(u"Wrong dimension", E_INVALIDARG);
    }
    const auto* strings = static_cast<const BSTR*>(array->pvData);
    std::vector<std::u16string> list;
    list.reserve(array->rgsabound[0].cElements);
    for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i) {
        list.emplace_back(automation::TextOf(strings[i]));
    }
    return list;
}

}  // namespace frame
