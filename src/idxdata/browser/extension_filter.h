// The permitted name endings of a listing or a search.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace idxdata {

// Keeps names that end with one of its endings, compared case-sensitively. No dot is
// implied; a name that is nothing but the ending is not permitted.
class CExtensionFilter {
public:
    // `text` holds endings separated by ';' or ','. A filter that is not enabled permits
    // everything, an enabled one without endings nothing.
    CExtensionFilter(bool enabled, std::u16string_view text);

    bool IsPermitted(std::u16string_view name) const noexcept;
    // The same for a name of `length` units that lies at any address.
    bool IsPermitted(const std::byte* name, std::size_t length) const noexcept;

    bool IsEnabled() const noexcept { return m_enabled; }
    const std::vector<std::u16string>& Extensions() const noexcept { return m_extensions; }

private:
    void Parse(std::u16string_view text);

    bool m_enabled;
    std::vector<std::u16string> m_extensions;
};

}  // namespace idxdata
