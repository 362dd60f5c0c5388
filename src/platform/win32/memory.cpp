#include "platform/memory.h"

namespace platform {

// Large pages need a privilege that services rarely have.
void PreferLargePages(void*, std::size_t) noexcept {}

}  // namespace platform
