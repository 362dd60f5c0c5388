// The module's lock count. The module can be unloaded when it is 0. Any thread may call
// these functions.
#pragma once

namespace frame {

// IClassFactory::LockServer. An unlock without a preceding lock has no effect.
void ModuleLockServer() noexcept;
void ModuleUnlockServer() noexcept;

// True if no object exists and no server lock is held.
bool ModuleCanUnload() noexcept;

// A member of every automation object: counts the object from construction to destruction.
class CModuleObjectCount {
public:
    CModuleObjectCount() noexcept;
    CModuleObjectCount(const CModuleObjectCount&) = delete;
    CModuleObjectCount& operator=(const CModuleObjectCount&) = delete;
    ~CModuleObjectCount();
};

}  // namespace frame
