#include "automation/module_setup.h"

namespace automation {

namespace {

class CNoSetup final : public IModuleSetup {
public:
    platform::IRegistry& Registry() override { return platform::SystemRegistry(); }
    HRESULT LoadScript(std::uint16_t, std::u16string&) override { return E_NOTIMPL; }
    HRESULT GetModulePath(std::u16string&) override { return E_NOTIMPL; }
    HRESULT RegisterTypeLibrary(const std::u16string&) override { return E_NOTIMPL; }
    HRESULT UnregisterTypeLibrary(const std::u16string&) override { return E_NOTIMPL; }
    LCID EnterSystemLocale() noexcept override { return 0; }
    void RestoreLocale(LCID) noexcept override {}
};

}  // namespace

IModuleSetup& ModuleSetup() noexcept {
    static CNoSetup setup;
    return setup;
}

}  // namespace automation
