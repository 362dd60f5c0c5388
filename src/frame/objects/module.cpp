#include "frame/objects/module.h"

#include <atomic>
#include <cstdint>

namespace frame {

namespace {
std::atomic<std::int32_t> g_locks{0};
}  // namespace

void ModuleLock() noexcept {
    ++g_locks;
}
void ModuleUnlock() noexcept {
    --g_locks;
}

bool ModuleCanUnload() noexcept {
    return g_locks.load() == 0;
}

}  // namespace frame
