#include "automation/dispatch.h"

#include "automation/com_ptr.h"
#include "automation/posix/call_frame.h"
#include "text/ascii_case.h"

namespace automation {

namespace {

DISPID FindParam(const MethodDesc& method, LPCOLESTR name) {
    for (std::size_t i = 0; i < method.paramCount; ++i) {
        if (text::EqualsNoCase(method.params[i].name, name)) {
            return static_cast<DISPID>(i);
        }
    }
    return DISPID_UNKNOWN;
}

// Moves the thread's error information into `exception`; leaves it in place for null.
HRESULT ReportFailure(HRESULT failure, EXCEPINFO* exception) {
    if (exception == nullptr) {
        return DISP_E_EXCEPTION;
    }
    *exception = {};
    exception->scode = failure;
    CComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, info.Put()) == S_OK) {
        info->GetSource(&exception->bstrSource);
        info->GetDescription(&exception->bstrDescription);
        info->GetHelpFile(&exception->bstrHelpFile);
        info->GetHelpContext(&exception->dwHelpContext);
    }
    return DISP_E_EXCEPTION;
}

}  // namespace

// There is no type library on this system.
HRESULT DispatchGetTypeInfoCount(const InterfaceTable&, UINT* count) {
    if (count == nullptr) {
        return E_POINTER;
    }
    *count = 0;
    return S_OK;
}

HRESULT DispatchGetTypeInfo(const InterfaceTable&, UINT, LCID, ITypeInfo** info) {
    if (info == nullptr) {
        return E_POINTER;
    }
    *info = nullptr;
    return DISP_E_BADINDEX;
}

HRESULT DispatchGetIDsOfNames(const InterfaceTable& table, REFIID reserved, LPOLESTR* names,
                              UINT count, LCID, DISPID* ids) {
    if (reserved != IID_NULL) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (names == nullptr || ids == nullptr || count == 0) {
        return E_INVALIDARG;
    }
    const MethodDesc* method = nullptr;
    HRESULT hr = S_OK;
    for (UINT i = 0; i < count; ++i) {
        ids[i] = DISPID_UNKNOWN;
        if (names[i] != nullptr && i == 0) {
            method = FindMethodIf(table, [&](const MethodDesc& candidate) {
                return text::EqualsNoCase(candidate.name, names[0]);
            });
            ids[0] = method == nullptr ? DISPID_UNKNOWN : method->id;
        } else if (names[i] != nullptr && method != nullptr) {
            ids[i] = FindParam(*method, names[i]);
        }
        hr = ids[i] == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : hr;
    }
    return hr;
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
    VariantInit(result);
    const MethodDesc* method = FindMethod(table, id);
    if (method == nullptr || (flags & method->invokeKind) == 0) {
        return DISP_E_MEMBERNOTFOUND;
    }
    detail::CCallFrame frame(*method);
    UINT ignored = 0;
    HRESULT hr = frame.Bind(*params, badArgument == nullptr ? ignored : *badArgument);
    if (FAILED(hr)) {
        return hr;
    }
    SetErrorInfo(0, nullptr);
    hr = frame.Call(self);
    return FAILED(hr) ? ReportFailure(hr, exception) : frame.Deliver(result);
}

}  // namespace automation
