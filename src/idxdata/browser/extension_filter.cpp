#include "idxdata/browser/extension_filter.h"

#include <algorithm>
#include <cstring>

namespace idxdata {

CExtensionFilter::CExtensionFilter(bool enabled, std::u16string_view text) : m_enabled(enabled) {
    if (enabled) {
        Parse(text);
    }
}

// A space inside an ending is kept but not counted: the ending loses as many code units at
// its end as it contains spaces. Kept for compatibility.
void CExtensionFilter::Parse(std::u16string_view text) {
    std::size_t start = 0;
    std::size_t count = 0;
    const auto close = [&] {
        if (count > 0) {
            m_extensions.emplace_back(text.substr(start, count));
        }
        count = 0;
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u';' || text[i] == u',') {
            close();
        } else if (text[i] != u' ') {
            start = count == 0 ? i : start;
            ++count;
        }
    }
    close();
}

bool CExtensionFilter::IsPermitted(const std::byte* name, std::size_t length) const noexcept {
    if (!m_enabled) {
        return true;
    }
    return std::any_of(m_extensions.begin(), m_extensions.end(), [&](const auto& extension) {
        const std::size_t units = extension.size();
        return units < length &&
               std::memcmp(name + 2 * (length - units), extension.data(), 2 * units) == 0;
    });
}

}  // namespace idxdata
