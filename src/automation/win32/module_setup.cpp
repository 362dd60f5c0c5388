#include "automation/module_setup.h"

#include "automation/win32/type_library.h"
#include "platform/system.h"
#include "platform/win32/wide.h"

namespace automation {

using platform::win32::Wide;

namespace {

HRESULT LastFailure() noexcept {
    return HRESULT_FROM_WIN32(::GetLastError());
}

// The attributes of a type library, by which it is registered.
class CLibraryAttributes {
public:
    explicit CLibraryAttributes(ITypeLib& library) noexcept : m_library(library) {
        m_result = library.GetLibAttr(&m_attributes);
    }
    CLibraryAttributes(const CLibraryAttributes&) = delete;
    CLibraryAttributes& operator=(const CLibraryAttributes&) = delete;
    ~CLibraryAttributes() {
        if (SUCCEEDED(m_result)) {
            m_library.ReleaseTLibAttr(m_attributes);
        }
    }
    HRESULT Result() const noexcept { return m_result; }
    TLIBATTR* operator->() const noexcept { return m_attributes; }

private:
    ITypeLib& m_library;
    TLIBATTR* m_attributes = nullptr;
    HRESULT m_result;
};

bool IsRegistered(const CLibraryAttributes& library) noexcept {
    BSTR path = nullptr;
    const HRESULT hr = ::QueryPathOfRegTypeLib(library->guid, library->wMajorVerNum,
                                               library->wMinorVerNum, library->lcid, &path);
    ::SysFreeString(path);
    return SUCCEEDED(hr);
}

HRESULT Unregister(const CLibraryAttributes& library) noexcept {
    return ::UnRegisterTypeLib(library->guid, library->wMajorVerNum, library->wMinorVerNum,
                               library->lcid, library->syskind);
}

// Registers the module's folder as the help folder; otherwise the help folder of an earlier
// registration would remain.
HRESULT Register(ITypeLib& library, std::u16string modulePath) {
    std::u16string folder = modulePath.substr(0, modulePath.find_last_of(u'\\'));
    return ::RegisterTypeLib(&library, Wide(modulePath.data()), Wide(folder.data()));
}

class CModuleSetup final : public IModuleSetup {
public:
    platform::IRegistry& Registry() override { return platform::SystemRegistry(); }

    HRESULT LoadScript(std::uint16_t number, std::u16string& script) override {
        const auto module = static_cast<HMODULE>(platform::OwnModule());
        const HRSRC found = ::FindResourceW(module, MAKEINTRESOURCEW(number), L"REGISTRY");
        const HGLOBAL loaded = found == nullptr ? nullptr : ::LoadResource(module, found);
        if (loaded == nullptr) {
            return LastFailure();
        }
        // Scripts are ASCII.
        const auto* text = static_cast<const char*>(::LockResource(loaded));
        script.assign(text, text + ::SizeofResource(module, found));
        return S_OK;
    }

    HRESULT GetModulePath(std::u16string& path) override { return win32::OwnModulePath(path); }

    HRESULT RegisterTypeLibrary(const std::u16string& modulePath) override {
        CComPtr<ITypeLib> library;
        const HRESULT hr = win32::LoadTypeLibraryOf(modulePath, library);
        return FAILED(hr) ? hr : Register(*library, modulePath);
    }

    // Succeeds for a library that is not registered.
    HRESULT UnregisterTypeLibrary(const std::u16string& modulePath) override {
        CComPtr<ITypeLib> library;
        std::u16string path;
        HRESULT hr = win32::LoadTypeLibraryOf(modulePath, library, &path);
        if (FAILED(hr)) {
            return hr;
        }
        const CLibraryAttributes attributes(*library);
        if (FAILED(attributes.Result()) || !IsRegistered(attributes)) {
            return attributes.Result();
        }
        hr = Unregister(attributes);
        if (FAILED(hr)) {
            // The system reads the library at the registered path. If that fails, this library
            // is registered first.
            hr = Register(*library, path);
            hr = FAILED(hr) ? hr : Unregister(attributes);
        }
        return hr;
    }

    LCID EnterSystemLocale() noexcept override {
        const LCID former = ::GetThreadLocale();
        ::SetThreadLocale(LOCALE_SYSTEM_DEFAULT);
        return former;
    }
    void RestoreLocale(LCID locale) noexcept override { ::SetThreadLocale(locale); }
};

}  // namespace

IModuleSetup& ModuleSetup() noexcept {
    static CModuleSetup setup;
    return setup;
}

}  // namespace automation
