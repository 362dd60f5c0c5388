// Writes UTF-16 code units to memory at any alignment.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace text {

// Writes one text after another. Does not check the space: the caller reserves it.
class CUnitWriter {
public:
    explicit CUnitWriter(std::byte* begin) noexcept : m_begin(begin), m_at(begin) {}

    // Leaves the next `count` units as they are.
    void Skip(std::size_t count) noexcept { m_at += 2 * count; }
    void Put(char16_t unit) noexcept { Put(std::array{unit}); }
    template <std::size_t kCount>
    void Put(const std::array<char16_t, kCount>& units) noexcept {
        std::memcpy(m_at, units.data(), sizeof units);
        m_at += sizeof units;
    }
    // `units` are `count` code units at any alignment; null for none.
    void Put(const void* units, std::size_t count) noexcept {
        if (count != 0) {
            std::memcpy(m_at, units, 2 * count);
            m_at += 2 * count;
        }
    }
    void Put(std::u16string_view text) noexcept { Put(text.data(), text.size()); }

    // Code units written or skipped.
    std::size_t Count() const noexcept { return static_cast<std::size_t>(m_at - m_begin) / 2; }

private:
    std::byte* m_begin;
    std::byte* m_at;
};

}  // namespace text
