#include "text/folded_text.h"

#include <cstdint>
#include <span>

#include "text/ascii_case.h"
#include "text/unaligned.h"

namespace text {

namespace {

constexpr std::size_t kStep = sizeof(std::uint64_t) / sizeof(char16_t);  // units at a time

template <class Number>
bool Matches(const std::byte* units, const std::u16string& masks, const std::u16string& values,
             std::size_t i) noexcept {
    const auto load = [i](const std::u16string& text) {
        return LoadLittle<Number>(std::as_bytes(std::span(text)).data() + 2 * i);
    };
    return (LoadLittle<Number>(units + 2 * i) | load(masks)) == load(values);
}

}  // namespace

CFoldedText::CFoldedText(std::u16string_view text) : m_values(ToLowerAscii(text)) {
    for (const char16_t unit : m_values) {
        m_masks += unit >= u'a' && unit <= u'z' ? u'\x20' : u'\0';
    }
}

bool CFoldedText::IsPrefixOf(const std::byte* units, std::size_t count) const noexcept {
    const std::size_t size = m_values.size();
    if (count < size) {
        return false;
    }
    std::size_t i = 0;
    for (; size - i >= kStep; i += kStep) {
        if (!Matches<std::uint64_t>(units, m_masks, m_values, i)) {
            return false;
        }
    }
    for (; i < size; ++i) {
        if (!Matches<std::uint16_t>(units, m_masks, m_values, i)) {
            return false;
        }
    }
    return true;
}

}  // namespace text
