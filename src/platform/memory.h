// Large memory blocks for buffers and tables.
#pragma once

#include <cstddef>
#include <memory>

namespace platform {

struct BlockDelete {
    void operator()(std::byte* block) const noexcept;
};
using CBlockPtr = std::unique_ptr<std::byte[], BlockDelete>;

// An uninitialised block that begins at a memory page. Some processors copy several times
// slower from the start of a page to an address a few bytes after one. Throws std::bad_alloc.
CBlockPtr AllocateBlock(std::size_t bytes);

// The same, with PreferLargePages.
CBlockPtr AllocateLargeBlock(std::size_t bytes);

// Lets the system use large pages for memory that is not yet in use and will be used as a
// whole. This is a hint; failure is ignored.
void PreferLargePages(void* memory, std::size_t bytes) noexcept;

// Loads memory that will be written soon into the cache. Any address is allowed. This is a
// hint; failure is ignored.
inline void PrefetchForWriting(const void* memory, std::size_t bytes) noexcept {
    constexpr std::size_t kCacheLine = 64;
    const auto* const first = static_cast<const std::byte*>(memory);
    for (std::size_t at = 0; at < bytes; at += kCacheLine) {
        __builtin_prefetch(first + at, 1);
    }
}

}  // namespace platform
