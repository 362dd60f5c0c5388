// What registering this module asks of the system.
#pragma once

#include <cstdint>
#include <string>

#include "automation/automation.h"
#include "platform/registry.h"

namespace automation {

// The registry scripts in the module's resources, by their numbers there.
inline constexpr std::uint16_t kAppIdScript = 101;
inline constexpr std::uint16_t kClassScript = 102;

// Results are the system's; calls may throw std::bad_alloc and nothing else.
class IModuleSetup {
public:
    virtual ~IModuleSetup() = default;

    virtual platform::IRegistry& Registry() = 0;
    virtual HRESULT LoadScript(std::uint16_t number, std::u16string& script) = 0;
    virtual HRESULT GetModulePath(std::u16string& path) = 0;
    // The library that the module carries, or else the file beside it that differs from it
    // in its extension .tlb. It is registered with `modulePath` as its place.
    virtual HRESULT RegisterTypeLibrary(const std::u16string& modulePath) = 0;
    virtual HRESULT UnregisterTypeLibrary(const std::u16string& modulePath) = 0;
    // The system's own locale for this thread, and back.
    virtual LCID EnterSystemLocale() noexcept = 0;
    virtual void RestoreLocale(LCID locale) noexcept = 0;
};

// Linux has no registration: there every call that can fail answers E_NOTIMPL.
IModuleSetup& ModuleSetup() noexcept;

}  // namespace automation
