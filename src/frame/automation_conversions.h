// Conversions between the types of the engines and automation types: string arrays, booleans.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "automation/automation.h"
#include "automation/bstr.h"

namespace frame {

constexpr VARIANT_BOOL ToVariantBool(bool value) noexcept {
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

// A new one-dimensional array of BSTR with lower bound 0; an empty list gives an array
// without elements. Throws CExc (E_FAIL) if it cannot be allocated, CComExc if an element
// cannot be stored; the array is freed in both cases.
automation::CSafeArrayPtr StringListToSafeArray(const std::vector<std::u16string>& list);

// The same for any source: `textAt(i)` returns the i-th of `count` texts as a view.
template <class TextAt>
automation::CSafeArrayPtr StringsToSafeArray(std::size_t count, TextAt&& textAt);

// The array's strings from its lower to its upper bound. Throws CComExc (E_INVALIDARG) if
// `array` is null, is not an array of BSTR, or does not have exactly one dimension.
std::vector<std::u16string> SafeArrayToStringList(SAFEARRAY* array);

namespace detail {
automation::CSafeArrayPtr NewStringArray(std::size_t count);
void PutString(SAFEARRAY* array, std::size_t index, std::u16string_view text);
}  // namespace detail

template <class TextAt>
automation::CSafeArrayPtr StringsToSafeArray(std::size_t count, TextAt&& textAt) {
    automation::CSafeArrayPtr array = detail::NewStringArray(count);
    for (std::size_t i = 0; i < count; ++i) {
        detail::PutString(array.Get(), i, textAt(i));
    }
    return array;
}

}  // namespace frame
