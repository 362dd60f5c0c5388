// Attribute paths: elements separated by dots; empty elements are ignored.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace mtf {

// Removes the first element from `rest`; false when there is none.
bool NextPathElement(std::u16string_view& rest, std::u16string_view& element) noexcept;

// All elements of a path, as views into it.
class CMtfPathElements {
public:
    explicit CMtfPathElements(std::u16string_view path);

    std::size_t Count() const noexcept { return m_elements.size(); }
    // Throws CExc (E_FAIL) for an element that the path does not have.
    std::u16string_view At(std::size_t index) const;

private:
    std::vector<std::u16string_view> m_elements;
};

struct CMtfAttrPath {
    std::u16string_view subtree;  // all before the last element
    std::u16string_view name;     // the last element
};
// Throws CExc (E_FAIL) for a path without elements.
CMtfAttrPath SplitAttrPath(std::u16string_view path);

// Whether the elements of `path` begin with those of `prefix`, without regard to case.
bool PathStartsWith(std::u16string_view path, std::u16string_view prefix) noexcept;

}  // namespace mtf
