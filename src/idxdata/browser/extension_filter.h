// The permitted name endings of a listing or a search.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace idxdata {

// Permits names that end with one of its endings and are longer than it. The comparison is
// case-sensitive; no dot is implied.
class CExtensionFilter {
public:
    // `text` is a list of endings separated by ';' or ','; spaces around an ending are
    // ignored. A disabled filter permits every name, an enabled one without endings none.
    CExtensionFilter(bool enabled, std::u16string_view text);

    // `name` is `length` code units at any address.
    bool IsPermitted(const std::byte* name, std::size_t length) const noexcept;

    bool IsEnabled() const noexcept { return m_enabled; }

private:
    void Parse(std::u16string_view text);

    bool m_enabled;
    std::vector<std::u16string> m_extensions;
};

}  // namespace idxdata
