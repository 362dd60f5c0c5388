// A growing array whose elements never move.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "platform/memory.h"

namespace mtf {

// Elements are stored in blocks of doubling size: many elements need few allocations, few
// elements need little memory, and growth copies nothing.
template <class T>
class CStableArray {
public:
    CStableArray() = default;
    CStableArray(const CStableArray&) = delete;
    CStableArray& operator=(const CStableArray&) = delete;
    ~CStableArray() {
        for (std::size_t i = 0; i < m_size; ++i) {
            std::destroy_at(&(*this)[i]);
        }
    }

    std::size_t Size() const noexcept { return m_size; }
    T& operator[](std::size_t index) noexcept { return *At(index); }
    const T& operator[](std::size_t index) const noexcept { return *At(index); }

    // Adds an element at the end; throws std::bad_alloc.
    template <class... Args>
    T& Append(Args&&... args) {
        const std::size_t block = BlockOf(m_size);
        if (!m_blocks[block]) {
            m_blocks[block] = platform::AllocateLargeBlock(Capacity(block) * sizeof(T));
        }
        T* element = std::construct_at(At(m_size), std::forward<Args>(args)...);
        ++m_size;
        return *element;
    }

private:
    static constexpr std::size_t kFirstBlock = 16;  // elements of block 0

    static std::size_t BlockOf(std::size_t index) noexcept {
        return static_cast<std::size_t>(std::bit_width(index / kFirstBlock));
    }
    static std::size_t Capacity(std::size_t block) noexcept {
        return block == 0 ? kFirstBlock : kFirstBlock << (block - 1);
    }
    T* At(std::size_t index) const noexcept {
        const std::size_t block = BlockOf(index);
        const std::size_t first = block == 0 ? 0 : Capacity(block);
        return reinterpret_cast<T*>(m_blocks[block].get()) + (index - first);
    }

    std::array<platform::CBlockPtr, 48> m_blocks;
    std::size_t m_size = 0;
};

}  // namespace mtf
