// The module's lock count: what keeps the module loaded.
#pragma once

namespace frame {

// One for every live automation object. Any thread.
void ModuleAddObject() noexcept;
void ModuleReleaseObject() noexcept;

// IClassFactory::LockServer. An unlock without its lock changes nothing.
void ModuleLockServer() noexcept;
void ModuleUnlockServer() noexcept;

// No object is alive and no server lock is held.
bool ModuleCanUnload() noexcept;

// Counts an automation object for as long as it lives.
class CModuleObjectCount {
public:
    CModuleObjectCount() noexcept { ModuleAddObject(); }
    CModuleObjectCount(const CModuleObjectCount&) = delete;
    CModuleObjectCount& operator=(const CModuleObjectCount&) = delete;
    ~CModuleObjectCount() { ModuleReleaseObject(); }
};

}  // namespace frame
