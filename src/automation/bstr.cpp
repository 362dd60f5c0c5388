#include "automation/bstr.h"

#include <limits>
#include <new>

#include "text/text_scan.h"

namespace automation {

std::u16string_view TextOf(BSTR text) noexcept {
    if (text == nullptr) {
        return {};
    }
    const auto* units = reinterpret_cast<const char16_t*>(text);
    constexpr text::CUnitTest kIsNul = {};
    return {units, text::FindUnitPair(reinterpret_cast<const std::byte*>(units),
                                      ::SysStringLen(text), kIsNul, kIsNul, 0)};
}

BSTR NewBstr(std::u16string_view text) {
    BSTR string = nullptr;
    if (text.size() <= std::numeric_limits<UINT>::max()) {
        // An empty view may have no data, and null means uninitialised content to the system.
        const char16_t* data = text.empty() ? u"" : text.data();
        string = ::SysAllocStringLen(reinterpret_cast<const OLECHAR*>(data),
                                     static_cast<UINT>(text.size()));
    }
    if (string == nullptr) {
        throw std::bad_alloc();
    }
    return string;
}

}  // namespace automation
