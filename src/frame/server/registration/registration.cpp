#include "frame/server/registration/registration.h"

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/objects/boundary.h"
#include "frame/server/registration/registry_script.h"

namespace server {

using automation::IModuleSetup;

namespace {

enum class EAction { Register, Unregister };

// Sets the thread's locale to the system's until the end of the scope.
class CSystemLocaleScope {
public:
    explicit CSystemLocaleScope(IModuleSetup& setup) noexcept
        : m_setup(setup), m_former(setup.EnterSystemLocale()) {}
    CSystemLocaleScope(const CSystemLocaleScope&) = delete;
    CSystemLocaleScope& operator=(const CSystemLocaleScope&) = delete;
    ~CSystemLocaleScope() { m_setup.RestoreLocale(m_former); }

private:
    IModuleSetup& m_setup;
    LCID m_former;
};

void Check(HRESULT hr) {
    if (FAILED(hr)) {
        throw frame::CComExc(hr);
    }
}

std::u16string ModulePath(IModuleSetup& setup) {
    std::u16string path;
    Check(setup.GetModulePath(path));
    return path;
}

void RunScript(IModuleSetup& setup, std::uint16_t number, EAction action) {
    std::u16string text;
    Check(setup.LoadScript(number, text));
    const std::u16string path = ModulePath(setup);
    const CRegistryScript script(text,
                                 {{u"Module", DoubleQuotes(path)},
                                  {u"Module_Raw", path},
                                  {u"APPID", frame::GuidToString(APPID_ZorelOibIdxLib, true)}});
    const std::uint32_t code = action == EAction::Register ? script.Register(setup.Registry())
                                                           : script.Unregister(setup.Registry());
    Check(frame::HResultFromWin32(code));
}

template <class Steps>
HRESULT RunSetup(IModuleSetup& setup, Steps steps) noexcept {
    return frame::RunAtBoundary({&CLSID_COibIdxLib, nullptr}, nullptr, [&] {
        const CSystemLocaleScope locale(setup);
        steps();
        return S_OK;
    });
}

}  // namespace

HRESULT RegisterServer(IModuleSetup& setup) noexcept {
    return RunSetup(setup, [&] {
        RunScript(setup, automation::kAppIdScript, EAction::Register);
        RunScript(setup, automation::kClassScript, EAction::Register);
        Check(setup.RegisterTypeLibrary(ModulePath(setup)));
    });
}

HRESULT UnregisterServer(IModuleSetup& setup) noexcept {
    return RunSetup(setup, [&] {
        RunScript(setup, automation::kClassScript, EAction::Unregister);
        Check(setup.UnregisterTypeLibrary(ModulePath(setup)));
        RunScript(setup, automation::kAppIdScript, EAction::Unregister);
    });
}

}  // namespace server
