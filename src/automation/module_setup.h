// The calls of the system that registration needs.
#pragma once

#include <cstdint>
#include <string>

#include "automation/automation.h"
#include "platform/registry.h"

namespace automation {

// The registry scripts in the module's resources, by their numbers there.
inline constexpr std::uint16_t kAppIdScript = 101;
inline constexpr std::uint16_t kClassScript = 102;

// Calls return the system's results and throw std::bad_alloc only.
class IModuleSetup {
public:
    virtual ~IModuleSetup() = default;

    virtual platform::IRegistry& Registry() = 0;
    virtual HRESULT LoadScript(std::uint16_t number, std::u16string& script) = 0;
    virtual HRESULT GetModulePath(std::u16string& path) = 0;
    // The type library in the module's resources; without one, the file beside the module
    // with the same name and the extension .tlb. It is registered under `modulePath`.
    virtual HRESULT RegisterTypeLibrary(const std::u16string& modulePath) = 0;
    virtual HRESULT UnregisterTypeLibrary(const std::u16string& modulePath) = 0;
    // Sets the thread's locale to the system's and returns the former one.
    virtual LCID EnterSystemLocale() noexcept = 0;
    virtual void RestoreLocale(LCID locale) noexcept = 0;
};

// The setup of this module. Windows only.
IModuleSetup& ModuleSetup() noexcept;

}  // namespace automation
