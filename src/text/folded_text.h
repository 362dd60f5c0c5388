// Case-insensitive comparison of one text with many others.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace text {

// Folds its text once. The texts that it is compared with are at any alignment and not folded;
// only the case of ASCII letters is ignored.
class CFoldedText {
public:
    explicit CFoldedText(std::u16string_view text);

    bool IsEmpty() const noexcept { return m_values.empty(); }
    bool IsPrefixOf(const std::byte* units, std::size_t count) const noexcept;
    bool Equals(const std::byte* units, std::size_t count) const noexcept {
        return count == m_values.size() && IsPrefixOf(units, count);
    }

private:
    // Unit i of the text equals a unit u when u with the bits of m_masks[i] set is
    // m_values[i].
    std::u16string m_masks;
    std::u16string m_values;
};

}  // namespace text
