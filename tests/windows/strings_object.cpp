// An automation object for the script tests: scripts cannot read the elements of an array of
// strings, so this object joins them. A separate module; regsvr32 registers its class
// "ZorelOibIdxTest.Strings", whose method Joined(list, separator) returns one string.
#include <windows.h>
// Order matters: the automation headers build on windows.h.
#include <objbase.h>
#include <oleauto.h>

#include <atomic>
#include <cwchar>
#include <string>

namespace {

// {7f1d9a52-6a0e-4c6f-9d3b-0f3f5f1c2b11}
constexpr CLSID kClass = {
    0x7f1d9a52, 0x6a0e, 0x4c6f, {0x9d, 0x3b, 0x0f, 0x3f, 0x5f, 0x1c, 0x2b, 0x11}};
constexpr wchar_t kClassKey[] = L"CLSID\\{7f1d9a52-6a0e-4c6f-9d3b-0f3f5f1c2b11}";
constexpr wchar_t kProgId[] = L"ZorelOibIdxTest.Strings";
constexpr DISPID kJoined = 1;

// The array in an argument; script engines pass it through one or more references.
SAFEARRAY* ListIn(const VARIANT* value) {
    while (value->vt == (VT_BYREF | VT_VARIANT)) {
        value = value->pvarVal;
    }
    switch (value->vt) {
        case VT_ARRAY | VT_BSTR:
            return value->parray;
        case VT_BYREF | VT_ARRAY | VT_BSTR:
            return *value->pparray;
        default:
            return nullptr;
    }
}

HRESULT Join(SAFEARRAY* list, const VARIANT& separator, VARIANT* result) {
    if (list == nullptr || ::SafeArrayGetDim(list) != 1 || separator.vt != VT_BSTR) {
        return DISP_E_TYPEMISMATCH;
    }
    LONG first = 0;
    LONG last = -1;
    ::SafeArrayGetLBound(list, 1, &first);
    ::SafeArrayGetUBound(list, 1, &last);
    std::wstring joined;
    for (LONG i = first; i <= last; ++i) {
        BSTR text = nullptr;
        if (FAILED(::SafeArrayGetElement(list, &i, &text))) {
            return DISP_E_BADINDEX;
        }
        joined += (i > first ? separator.bstrVal : L"");
        joined.append(text, ::SysStringLen(text));
        ::SysFreeString(text);
    }
    result->vt = VT_BSTR;
    result->bstrVal = ::SysAllocStringLen(joined.data(), static_cast<UINT>(joined.size()));
    return S_OK;
}

class CStrings final : public IDispatch {
public:
    virtual ~CStrings() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == IID_IDispatch;
        *object = known ? this : nullptr;
        if (known) {
            AddRef();
        }
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --m_references;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override {
        return DISP_E_BADINDEX;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID,
                                            DISPID* ids) override {
        *ids = ::_wcsicmp(names[0], L"Joined") == 0 ? kJoined : DISPID_UNKNOWN;
        return *ids == kJoined ? S_OK : DISP_E_UNKNOWNNAME;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO*, UINT*) override {
        if (id != kJoined) {
            return DISP_E_MEMBERNOTFOUND;
        }
        // The last argument is first.
        return params->cArgs != 2 || result == nullptr
                   ? DISP_E_BADPARAMCOUNT
                   : Join(ListIn(&params->rgvarg[1]), params->rgvarg[0], result);
    }

private:
    std::atomic<ULONG> m_references{1};
};

class CFactory final : public IClassFactory {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
        auto* strings = new CStrings;
        const HRESULT result = strings->QueryInterface(iid, object);
        strings->Release();
        return result;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

HRESULT SetKey(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
    return HRESULT_FROM_WIN32(
        ::RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, value.c_str(),
                          static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))));
}

HINSTANCE g_module = nullptr;

}  // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE module, DWORD, void*) {
    g_module = module;
    return TRUE;
}

__declspec(dllexport) HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    static CFactory factory;
    *object = nullptr;
    return clsid == kClass ? factory.QueryInterface(iid, object) : CLASS_E_CLASSNOTAVAILABLE;
}

__declspec(dllexport) HRESULT WINAPI DllCanUnloadNow() {
    return S_FALSE;
}

__declspec(dllexport) HRESULT WINAPI DllRegisterServer() {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(g_module, path, MAX_PATH);
    const std::wstring server = std::wstring(kClassKey) + L"\\InprocServer32";
    HRESULT result = SetKey(server, nullptr, path);
    if (SUCCEEDED(result)) {
        result = SetKey(server, L"ThreadingModel", L"Both");
    }
    if (SUCCEEDED(result)) {
        result = SetKey(std::wstring(kProgId) + L"\\CLSID", nullptr, kClassKey + 6);
    }
    return result;
}

}  // extern "C"
