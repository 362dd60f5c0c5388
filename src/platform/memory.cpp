#include "platform/memory.h"

#include <new>

namespace platform {

namespace {

constexpr std::align_val_t kPage{4096};

}  // namespace

void BlockDelete::operator()(std::byte* block) const noexcept {
    ::operator delete[](block, kPage);
}

CBlockPtr AllocateBlock(std::size_t bytes) {
    return CBlockPtr(static_cast<std::byte*>(::operator new[](bytes, kPage)));
}

CBlockPtr AllocateLargeBlock(std::size_t bytes) {
    CBlockPtr block = AllocateBlock(bytes);
    PreferLargePages(block.get(), bytes);
    return block;
}

}  // namespace platform
