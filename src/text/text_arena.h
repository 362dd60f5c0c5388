// Memory for many short texts.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace text {

// Copies of texts in large blocks. A copy stays at its address as long as the arena exists.
class CTextArena {
public:
    CTextArena() = default;
    CTextArena(const CTextArena&) = delete;
    CTextArena& operator=(const CTextArena&) = delete;

    // Copies `length` code units from any address and returns the copy.
    std::u16string_view Add(const std::byte* units, std::size_t length) {
        char16_t* const copy = length <= m_free ? Take(length) : TakeFromNewBlock(length);
        if (length != 0) {
            std::memcpy(copy, units, 2 * length);
        }
        return {copy, length};
    }
    std::u16string_view Add(std::u16string_view text) {
        return Add(std::as_bytes(std::span(text)).data(), text.size());
    }

private:
    char16_t* Take(std::size_t length) noexcept {
        m_free -= length;
        return std::exchange(m_next, m_next + length);
    }
    char16_t* TakeFromNewBlock(std::size_t length);

    std::vector<std::unique_ptr<char16_t[]>> m_blocks;
    char16_t* m_next = nullptr;  // the first free code unit of the current block
    std::size_t m_free = 0;      // code units left in the current block
};

}  // namespace text
