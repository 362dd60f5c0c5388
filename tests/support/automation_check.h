// Calls of automation objects, early and late bound.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "automation/automation.h"
#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "automation/variant.h"
#include "frame/conversions.h"
#include "frame/objects/interface_tables.h"
#include "support/target.h"

namespace support {

// The thread's error information; empty texts and the null GUID when there is none.
struct ErrorReport {
    std::u16string description;
    std::u16string source;
    GUID guid = GUID_NULL;
};

// Takes the thread's error information, so that the thread has none afterwards.
inline ErrorReport TakeError() {
    ErrorReport report;
    automation::CComPtr<IErrorInfo> info;
    if (::GetErrorInfo(0, info.Put()) == S_OK) {
        automation::CBstr description;
        automation::CBstr source;
        info->GetDescription(description.Put());
        info->GetSource(source.Put());
        info->GetGUID(&report.guid);
        report.description = automation::TextOf(description.Get());
        report.source = automation::TextOf(source.Get());
    }
    return report;
}

// A text as an argument of a system call.
inline LPCOLESTR Ole(const char16_t* text) {
    return reinterpret_cast<LPCOLESTR>(text);
}

// A library object, made by the module's class object.
inline HRESULT CreateLibrary(IUnknown* outer, REFIID iid, void** object) {
    automation::CComPtr<IClassFactory> factory;
    const HRESULT hr = ::DllGetClassObject(CLSID_COibIdxLib, IID_IClassFactory, factory.PutVoid());
    return FAILED(hr) ? hr : factory->CreateInstance(outer, iid, object);
}
inline automation::CComPtr<IOibIdxLib> NewLibrary() {
    automation::CComPtr<IOibIdxLib> library;
    EXPECT_EQ(CreateLibrary(nullptr, IID_IOibIdxLib, library.PutVoid()), S_OK);
    return library;
}

// A string argument; an empty text is not the null string.
inline automation::CBstr Bstr(std::u16string_view text) {
    return automation::CBstr(automation::NewBstr(text));
}

// The whole string, NULs inside included.
inline std::u16string WholeText(BSTR text) {
    return text == nullptr
               ? std::u16string()
               : std::u16string(reinterpret_cast<const char16_t*>(text), ::SysStringLen(text));
}

// ----- Early- and late-bound calls ------------------------------------------------

// Through the vtable, or through GetIDsOfNames and Invoke.
enum class EBinding { Early, Late };

inline const char* NameOf(EBinding binding) {
    return binding == EBinding::Early ? "early bound" : "late bound";
}

struct CallResult {
    HRESULT hr = S_OK;  // S_OK for every success of a late-bound call
    ErrorReport error;  // without the GUID after a late-bound call
};

namespace detail {

inline void ToVariant(INT value, VARIANT& out) {
    out.vt = VT_I4;
    out.lVal = value;
}
inline void ToVariant(VARIANT_BOOL value, VARIANT& out) {
    out.vt = VT_BOOL;
    out.boolVal = value;
}
inline void ToVariant(BSTR value, VARIANT& out) {
    out.vt = VT_BSTR;
    out.bstrVal = value == nullptr ? nullptr : automation::NewBstr(automation::TextOf(value));
}
inline void ToVariant(const GUID& value, VARIANT& out) {
    out.vt = VT_BSTR;
    out.bstrVal = automation::NewBstr(frame::GuidToString(value, true));
}

template <class T>
constexpr VARTYPE OutputType() {
    if constexpr (std::is_same_v<T, BSTR>) {
        return VT_BSTR;
    } else if constexpr (std::is_same_v<T, SAFEARRAY*>) {
        return VT_ARRAY | VT_BSTR;
    } else if constexpr (std::is_pointer_v<T>) {
        return VT_DISPATCH;
    } else if constexpr (std::is_same_v<T, VARIANT_BOOL>) {
        return VT_BOOL;
    } else if constexpr (sizeof(T) == 8) {
        return VT_UI8;
    } else {
        return std::is_signed_v<T> ? VT_I4 : VT_UI4;
    }
}

// A null pointer stays null. On Linux an output is stored in a VARIANT; Windows needs a variable
// of the parameter's type.
template <class T>
void ToVariant(T* out, VARIANT& argument, VARIANT& received) {
    if constexpr (kOnWindows) {
        argument.vt = static_cast<VARTYPE>(VT_BYREF | OutputType<T>());
        argument.byref = out;
    } else {
        argument.vt = VT_BYREF | VT_VARIANT;
        argument.pvarVal = out == nullptr ? nullptr : &received;
    }
}

template <class T>
void FromVariant(VARIANT& received, T* out) {
    if (out == nullptr || received.vt == VT_EMPTY) {
        return;
    }
    if constexpr (std::is_class_v<T>) {
        // A record; its strings move to the caller.
        std::memcpy(out, received.pvRecord, sizeof(T));
        std::memset(received.pvRecord, 0, sizeof(T));
    } else {
        // The value moves to the caller.
        std::memcpy(out, &received.llVal, sizeof(T));
        received.vt = VT_EMPTY;
    }
}

// A record or a GUID, or a pointer to one. Wine does not support them in IDispatch calls.
template <class T>
constexpr bool kIsRecord = std::is_class_v<std::remove_pointer_t<T>>;

template <class T>
constexpr bool kIsOutput = std::is_pointer_v<T> && !std::is_same_v<T, BSTR>;

// The variants of one late-bound call, the last argument first.
template <std::size_t kCount>
class CLateArguments {
public:
    template <class T>
    void Put(std::size_t position, T value) {
        if constexpr (kIsOutput<T>) {
            ToVariant(value, At(position), m_received[position].Get());
        } else {
            ToVariant(value, At(position));
        }
    }
    template <class T>
    void Fetch(std::size_t position, T value) {
        if constexpr (kIsOutput<T>) {
            FromVariant(m_received[position].Get(), value);
        }
    }
    // Removes a return value from the arguments: it becomes the result of the call.
    VARIANT* SplitResult() {
        m_hasResult = kCount != 0 && m_arguments[0].Get().pvarVal != nullptr;
        return m_hasResult ? &m_received[kCount - 1].Get() : nullptr;
    }
    DISPPARAMS List() {
        DISPPARAMS params{};
        for (std::size_t i = 0; i < kCount; ++i) {
            m_raw[i] = m_arguments[i].Get();
        }
        params.rgvarg = m_raw.data() + (m_hasResult ? 1 : 0);
        params.cArgs = static_cast<UINT>(kCount - (m_hasResult ? 1 : 0));
        return params;
    }

private:
    VARIANT& At(std::size_t position) { return m_arguments[kCount - 1 - position].Get(); }

    std::array<automation::CVariant, kCount> m_arguments;
    std::array<automation::CVariant, kCount> m_received;
    std::array<VARIANT, kCount + 1> m_raw{};  // the arguments' bytes; owns nothing
    bool m_hasResult = false;
};

inline CallResult ResultOf(HRESULT hr, EXCEPINFO& exception) {
    CallResult result{hr, {}};
    if (hr == DISP_E_EXCEPTION) {
        const automation::CBstr source(exception.bstrSource);
        const automation::CBstr description(exception.bstrDescription);
        const automation::CBstr helpFile(exception.bstrHelpFile);
        result.hr = exception.scode;
        result.error.source = automation::TextOf(source.Get());
        result.error.description = automation::TextOf(description.Get());
    }
    return result;
}

template <class Interface>
const automation::MethodDesc* FindMethod(automation::MethodThunk thunk) {
    for (const auto* table = &frame::TableOf<Interface>(); table != nullptr; table = table->base) {
        for (const automation::MethodDesc& method : table->methods) {
            if (method.call == thunk) {
                return &method;
            }
        }
    }
    return nullptr;
}

template <auto kMethod, class Interface, class... Params, std::size_t... kIndex>
CallResult CallLate(Interface* object, std::index_sequence<kIndex...>, Params... args) {
    using Traits = automation::detail::MethodTraits<decltype(kMethod)>;
    const automation::MethodDesc* method = FindMethod<Interface>(&Traits::template Thunk<kMethod>);
    DISPID id = DISPID_UNKNOWN;
    auto* name = const_cast<LPOLESTR>(reinterpret_cast<LPCOLESTR>(method->name));
    const HRESULT found = object->GetIDsOfNames(IID_NULL, &name, 1, 0, &id);
    if (FAILED(found)) {
        return {found, {}};
    }
    CLateArguments<sizeof...(Params)> late;
    (late.Put(kIndex, args), ...);
    VARIANT* result = nullptr;
    if (sizeof...(Params) != 0 &&
        method->params[method->paramCount - 1].direction == automation::EDirection::Retval) {
        result = late.SplitResult();
    }
    DISPPARAMS params = late.List();
    EXCEPINFO exception{};
    UINT badArgument = 0;
    const HRESULT hr = object->Invoke(id, IID_NULL, 0, method->invokeKind, &params, result,
                                      &exception, &badArgument);
    if (kOnLinux || SUCCEEDED(hr)) {  // on Windows a failed call stores no return value
        (late.Fetch(kIndex, args), ...);
    }
    return ResultOf(hr, exception);
}

template <class T>
bool IsNullOutput([[maybe_unused]] T value) {
    if constexpr (kIsOutput<T>) {
        return value == nullptr;
    }
    return false;
}

template <auto kMethod, class Interface, class... Params>
CallResult CallTyped(EBinding binding, Interface* object,
                     HRESULT (STDMETHODCALLTYPE Interface::*)(Params...),
                     std::type_identity_t<Params>... args) {
    // On Windows a late-bound call always has a variable for the return value.
    const bool passesNull = (IsNullOutput(args) || ...);
    if constexpr (kOnLinux || !(kIsRecord<Params> || ...)) {
        if (binding == EBinding::Late && (kOnLinux || !passesNull)) {
            return CallLate<kMethod>(object, std::index_sequence_for<Params...>(), args...);
        }
    }
    const HRESULT hr = (object->*kMethod)(args...);
    return {hr, TakeError()};
}

}  // namespace detail

// Calls a method of the library. On Windows the call is early bound if the method has records or
// GUIDs or if an output is null. Example:
//   Call<&IMtfMetaFile::FindAttr>(EBinding::Late, file.Get(), path.Get(), value.Put())
template <auto kMethod, class Interface, class... Args>
CallResult Call(EBinding binding, Interface* object, Args... args) {
    return detail::CallTyped<kMethod>(binding, object, kMethod, args...);
}

}  // namespace support
