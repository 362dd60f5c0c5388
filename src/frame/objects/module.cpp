#include "frame/objects/module.h"

#include <atomic>

namespace frame {

namespace {
std::atomic<long> g_objects{0};
std::atomic<long> g_serverLocks{0};
}  // namespace

CModuleObjectCount::CModuleObjectCount() noexcept {
    ++g_objects;
}
CModuleObjectCount::~CModuleObjectCount() {
    --g_objects;
}

void ModuleLockServer() noexcept {
    ++g_serverLocks;
}

void ModuleUnlockServer() noexcept {
    long locks = g_serverLocks.load();
    while (locks > 0 && !g_serverLocks.compare_exchange_weak(locks, locks - 1)) {
    }
}

bool ModuleCanUnload() noexcept {
    return g_objects.load() == 0 && g_serverLocks.load() == 0;
}

}  // namespace frame
