#include "platform/memory.h"

namespace platform {

// Large pages need a right that services rarely have; the system chooses by itself.
void PreferLargePages(void*, std::size_t) noexcept {}

}  // namespace platform
