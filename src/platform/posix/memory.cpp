#include "platform/memory.h"

#include <sys/mman.h>

#include <cstdint>

namespace platform {

// Applies to the whole large pages inside the block.
void PreferLargePages(void* memory, std::size_t bytes) noexcept {
    constexpr std::uintptr_t kLargePage = 2 * 1024 * 1024;
    const auto start = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t first = (start + kLargePage - 1) / kLargePage * kLargePage;
    const std::uintptr_t end = (start + bytes) / kLargePage * kLargePage;
    if (first < end) {
        static_cast<void>(::madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE));
    }
}

}  // namespace platform
