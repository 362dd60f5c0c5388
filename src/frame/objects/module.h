// The module's lock count. The module can be unloaded when it is 0. Any thread may call
// these functions.
#pragma once

namespace frame {

// An object's construction and destruction, and IClassFactory::LockServer, change the one count.
// A client that unlocks without a lock takes the lock of an object.
void ModuleLock() noexcept;
void ModuleUnlock() noexcept;

// True if the count is 0.
bool ModuleCanUnload() noexcept;

// A member of every automation object: holds a lock from construction to destruction.
class CModuleLock {
public:
    CModuleLock() noexcept { ModuleLock(); }
    CModuleLock(const CModuleLock&) = delete;
    CModuleLock& operator=(const CModuleLock&) = delete;
    ~CModuleLock() { ModuleUnlock(); }
};

}  // namespace frame
