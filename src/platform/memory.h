// Memory for what is read from files.
#pragma once

#include <cstddef>
#include <memory>

namespace platform {

struct BlockDelete {
    void operator()(std::byte* block) const noexcept;
};
using CBlockPtr = std::unique_ptr<std::byte[], BlockDelete>;

// A block at the start of a memory page, its bytes unset. Reads into it are fast: some
// processors copy several times slower when the target lies a few bytes behind a page's
// start and the source at one. Throws std::bad_alloc.
CBlockPtr AllocateBlock(std::size_t bytes);

// The same for content that will be used as a whole, with PreferLargePages.
CBlockPtr AllocateLargeBlock(std::size_t bytes);

// Says that fresh memory will be used as a whole, so that the system may back it with few
// large pages when it is first touched. A hint: it cannot fail.
void PreferLargePages(void* memory, std::size_t bytes) noexcept;

// Asks for memory that will be written soon, so that it is near by then; any address will
// do. A hint: it costs little and cannot fail.
inline void PrefetchForWriting(const void* memory, std::size_t bytes) noexcept {
    constexpr std::size_t kCacheLine = 64;
    const auto* const first = static_cast<const std::byte*>(memory);
    for (std::size_t at = 0; at < bytes; at += kCacheLine) {
        __builtin_prefetch(first + at, 1);
    }
}

}  // namespace platform
