// A text that is either owned or borrowed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace mtf {

// Move-only, 16 bytes: a large meta-file has one for each line, name and value. The memory
// of a borrowed text must outlive it. Texts are shorter than 2^32 code units.
class CMtfText {
public:
    CMtfText() noexcept = default;
    static CMtfText Borrow(std::u16string_view text) noexcept {
        return {text.data(), text.size(), false};
    }
    static CMtfText Copy(std::u16string_view text) {
        auto units = NewUnits(text.size());
        std::copy(text.begin(), text.end(), units.get());
        return {units.release(), text.size(), true};
    }
    static CMtfText Join(std::u16string_view head, char16_t middle, std::u16string_view tail) {
        const std::size_t length = head.size() + 1 + tail.size();
        auto units = NewUnits(length);
        char16_t* at = std::copy(head.begin(), head.end(), units.get());
        *at++ = middle;
        std::copy(tail.begin(), tail.end(), at);
        return {units.release(), length, true};
    }
    CMtfText(CMtfText&& other) noexcept { Swap(other); }
    CMtfText& operator=(CMtfText&& other) noexcept {
        CMtfText old(std::move(*this));
        Swap(other);
        return *this;
    }
    ~CMtfText() {
        if (m_owned) {
            delete[] m_units;
        }
    }

    std::u16string_view View() const noexcept { return {m_units, m_length}; }
    bool IsOwned() const noexcept { return m_owned; }

private:
    CMtfText(const char16_t* units, std::size_t length, bool owned) noexcept
        : m_units(units), m_length(static_cast<std::uint32_t>(length)), m_owned(owned) {}
    static std::unique_ptr<char16_t[]> NewUnits(std::size_t length) {
        if (length > std::numeric_limits<std::uint32_t>::max()) {
            throw std::bad_alloc();
        }
        return std::unique_ptr<char16_t[]>(new char16_t[length]);
    }
    void Swap(CMtfText& other) noexcept {
        std::swap(m_units, other.m_units);
        std::swap(m_length, other.m_length);
        std::swap(m_owned, other.m_owned);
    }

    const char16_t* m_units = nullptr;
    std::uint32_t m_length = 0;  // code units
    bool m_owned = false;
};

}  // namespace mtf
