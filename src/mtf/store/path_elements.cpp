#include "mtf/store/path_elements.h"

#include <algorithm>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "text/ascii_case.h"

namespace mtf {

bool NextPathElement(std::u16string_view& rest, std::u16string_view& element) noexcept {
    rest.remove_prefix(std::min(rest.find_first_not_of(u'.'), rest.size()));
    element = rest.substr(0, rest.find(u'.'));
    rest.remove_prefix(element.size());
    return !element.empty();
}

CMtfPathElements::CMtfPathElements(std::u16string_view path) {
    std::u16string_view element;
    while (NextPathElement(path, element)) {
        m_elements.push_back(element);
    }
}

std::u16string_view CMtfPathElements::At(std::size_t index) const {
    if (index >= m_elements.size()) {
        throw frame::CExc(
            u"Out of the path elems boundary. Specified path element id '%1', path elements "
            u"number '%2'.",
            {frame::UInt64ToString(index), frame::UInt64ToString(m_elements.size())}, frame::kFail);
    }
    return m_elements[index];
}

CMtfAttrPath SplitAttrPath(std::u16string_view path) {
    const std::size_t last = path.find_last_not_of(u'.');
    if (last == std::u16string_view::npos) {
        throw frame::CExc(u"The specified attribute's path (%1) is invalid.", {path}, frame::kFail);
    }
    const std::u16string_view whole = path.substr(0, last + 1);
    const std::size_t dot = whole.rfind(u'.');
    if (dot == std::u16string_view::npos) {
        return {{}, whole};
    }
    return {whole.substr(0, dot), whole.substr(dot + 1)};
}

bool PathStartsWith(std::u16string_view path, std::u16string_view prefix) noexcept {
    std::u16string_view wanted;
    std::u16string_view element;
    while (NextPathElement(prefix, wanted)) {
        if (!NextPathElement(path, element) || !text::EqualsNoCase(element, wanted)) {
            return false;
        }
    }
    return true;
}

}  // namespace mtf
