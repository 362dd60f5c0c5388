#include "automation/dispatch.h"

#include <map>
#include <mutex>

#include "automation/com_ptr.h"
#include "automation/win32/out_variables.h"
#include "automation/win32/type_library.h"

namespace automation {

namespace {

// The locale of the type library.
constexpr LCID kLibraryLocale = 0x409;

HRESULT LoadRegistered(const InterfaceTable& table, CComPtr<ITypeInfo>& info) noexcept {
    CComPtr<ITypeLib> library;
    const HRESULT hr = ::LoadRegTypeLib(LIBID_ZorelOibIdxLib, table.typeLibraryMajor, 0,
                                        kLibraryLocale, library.Put());
    return FAILED(hr) ? hr : library->GetTypeInfoOfGuid(*table.iid, info.Put());
}

HRESULT LoadOwn(const InterfaceTable& table, CComPtr<ITypeInfo>& info) {
    std::u16string path;
    CComPtr<ITypeLib> library;
    HRESULT hr = win32::OwnModulePath(path);
    if (SUCCEEDED(hr)) {
        hr = win32::LoadTypeLibraryOf(path, library);
    }
    return FAILED(hr) ? hr : library->GetTypeInfoOfGuid(*table.iid, info.Put());
}

// The description of an interface from the registered type library of the table's version, or
// otherwise from the module's own. A result is kept for the life of the module, a failure is
// not.
HRESULT FindTypeInfo(const InterfaceTable& table, CComPtr<ITypeInfo>& info) {
    static std::mutex lock;
    static std::map<const InterfaceTable*, CComPtr<ITypeInfo>> found;
    const std::lock_guard guard(lock);
    CComPtr<ITypeInfo>& kept = found[&table];
    HRESULT hr = S_OK;
    if (!kept) {
        hr = LoadRegistered(table, kept);
        hr = FAILED(hr) ? LoadOwn(table, kept) : hr;
    }
    info = kept;
    return hr;
}

}  // namespace

HRESULT DispatchGetTypeInfoCount(const InterfaceTable&, UINT* count) {
    if (count == nullptr) {
        return E_POINTER;
    }
    *count = 1;
    return S_OK;
}

HRESULT DispatchGetTypeInfo(const InterfaceTable& table, UINT index, LCID, ITypeInfo** info) {
    if (info == nullptr) {
        return E_POINTER;
    }
    *info = nullptr;
    if (index != 0) {
        return DISP_E_BADINDEX;
    }
    CComPtr<ITypeInfo> found;
    const HRESULT hr = FindTypeInfo(table, found);
    *info = found.Detach();
    return hr;
}

HRESULT DispatchGetIDsOfNames(const InterfaceTable& table, REFIID reserved, LPOLESTR* names,
                              UINT count, LCID, DISPID* ids) {
    if (reserved != IID_NULL) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (names == nullptr || ids == nullptr || count == 0) {
        return E_INVALIDARG;
    }
    CComPtr<ITypeInfo> info;
    const HRESULT hr = FindTypeInfo(table, info);
    return FAILED(hr) ? hr : ::DispGetIDsOfNames(info.Get(), names, count, ids);
}

HRESULT DispatchInvoke(const InterfaceTable& table, IDispatch* self, DISPID id, REFIID reserved,
                       LCID, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                       UINT* badArgument) {
    if (reserved != IID_NULL) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (!IsWellFormed(params)) {
        return E_INVALIDARG;
    }
    CComPtr<ITypeInfo> info;
    const HRESULT hr = FindTypeInfo(table, info);
    if (FAILED(hr)) {
        return hr;
    }
    UINT ignored = 0;
    ::SetErrorInfo(0, nullptr);
    win32::COutVariables variables(FindMethod(table, id), *params);
    const HRESULT called = ::DispInvoke(self, info.Get(), id, flags, variables.Params(), result,
                                        exception, badArgument == nullptr ? &ignored : badArgument);
    return FAILED(called) ? called : variables.Deliver();
}

}  // namespace automation
