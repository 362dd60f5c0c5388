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
        automation::CBstr description, source;
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

// An output argument.
template <class T>
constexpr bool kIsOutput = std::is_pointer_v<T> && !std::is_same_v<T, BSTR>;
// A record or a GUID, or a pointer to one. Wine does not support them in IDispatch calls.
template <class T>
constexpr bool kIsRecord = std::is_class_v<std::remove_pointer_t<T>>;
template <class T>
constexpr int kOutputType = std::is_same_v<T, BSTR>           ? VT_BSTR
                            : std::is_same_v<T, SAFEARRAY*>   ? VT_ARRAY | VT_BSTR
                            : std::is_pointer_v<T>            ? VT_DISPATCH
                            : std::is_same_v<T, VARIANT_BOOL> ? VT_BOOL
                            : sizeof(T) == 8                  ? VT_UI8
                            : std::is_signed_v<T>             ? VT_I4
                                                              : VT_UI4;

// Converts an argument. A null output stays null. On Linux an output is stored in `received`;
// Windows needs a variable of the parameter's type.
template <class T>
void ToVariant(T value, VARIANT& argument, [[maybe_unused]] VARIANT& received) {
    if constexpr (std::is_same_v<T, GUID>) {
        argument.vt = VT_BSTR;
        argument.bstrVal = automation::NewBstr(frame::GuidToString(value, true));
    } else if constexpr (std::is_same_v<T, BSTR>) {
        argument.vt = VT_BSTR;
        argument.bstrVal = value ? automation::NewBstr(automation::TextOf(value)) : nullptr;
    } else if constexpr (!kIsOutput<T>) {
        argument.vt = std::is_same_v<T, VARIANT_BOOL> ? VT_BOOL : VT_I4;
        argument.lVal = value;
    } else if constexpr (kOnWindows) {
        argument.vt = static_cast<VARTYPE>(VT_BYREF | kOutputType<std::remove_pointer_t<T>>);
        argument.byref = value;
    } else {
        argument.vt = VT_BYREF | VT_VARIANT;
        argument.pvarVal = value == nullptr ? nullptr : &received;
    }
}

// Moves a received value, or the strings of a received record, to the caller.
template <class T>
void FromVariant([[maybe_unused]] VARIANT& received, [[maybe_unused]] T out) {
    if constexpr (kIsOutput<T>) {
        if (out == nullptr || received.vt == VT_EMPTY) {
            return;
        }
        if constexpr (kIsRecord<T>) {
            std::memcpy(out, received.pvRecord, sizeof(*out));
            std::memset(received.pvRecord, 0, sizeof(*out));
        } else {
            std::memcpy(out, &received.llVal, sizeof(*out));
            received.vt = VT_EMPTY;
        }
    }
}

inline CallResult ResultOf(HRESULT hr, const EXCEPINFO& exception) {
    const automation::CBstr source(exception.bstrSource);
    const automation::CBstr description(exception.bstrDescription);
    const automation::CBstr helpFile(exception.bstrHelpFile);
    return {hr == DISP_E_EXCEPTION ? exception.scode : hr,
            {std::u16string(automation::TextOf(description.Get())),
             std::u16string(automation::TextOf(source.Get()))}};
}

template <auto kMethod, class Interface, class... Params>
CallResult CallLate(Interface* object, Params... args) {
    constexpr std::size_t kCount = sizeof...(Params);
    using Traits = automation::detail::MethodTraits<decltype(kMethod)>;
    const automation::MethodDesc* method = automation::FindMethodIf(
        frame::TableOf<Interface>(),
        [](const auto& desc) { return desc.call == &Traits::template Thunk<kMethod>; });
    DISPID id = DISPID_UNKNOWN;
    auto* name = const_cast<LPOLESTR>(Ole(method->name));
    const HRESULT found = object->GetIDsOfNames(IID_NULL, &name, 1, 0, &id);
    if (FAILED(found)) {
        return {found, {}};
    }
    // The last argument first; one more, so that no array is empty.
    std::array<automation::CVariant, kCount + 1> arguments, received;
    std::array<VARIANT, kCount + 1> raw{};  // the arguments' bytes; owns nothing
    std::size_t next = kCount;
    [[maybe_unused]] const auto put = [&](auto value) {
        --next;
        ToVariant(value, arguments[next].Get(), received[next].Get());
        raw[next] = arguments[next].Get();
    };
    (put(args), ...);
    // A return value becomes the result of the call, unless the caller passes null for it.
    const bool hasResult =
        kCount != 0 && raw[0].pvarVal != nullptr &&
        method->params[method->paramCount - 1].direction == automation::EDirection::Retval;
    DISPPARAMS params{};
    params.rgvarg = raw.data() + (hasResult ? 1 : 0);
    params.cArgs = static_cast<UINT>(kCount - (hasResult ? 1 : 0));
    EXCEPINFO exception{};
    UINT badArgument = 0;
    const HRESULT hr =
        object->Invoke(id, IID_NULL, 0, method->invokeKind, &params,
                       hasResult ? &received[0].Get() : nullptr, &exception, &badArgument);
    if (kOnLinux || SUCCEEDED(hr)) {  // on Windows a failed call stores no return value
        next = kCount;
        (FromVariant(received[--next].Get(), args), ...);
    }
    return ResultOf(hr, exception);
}

template <class T>
bool IsNullOutput(T value) {
    return kIsOutput<T> && value == T{};
}

template <auto kMethod, class Interface, class... Params>
CallResult CallTyped(EBinding binding, Interface* object,
                     HRESULT (STDMETHODCALLTYPE Interface::*)(Params...),
                     std::type_identity_t<Params>... args) {
    if constexpr (kOnLinux || !(kIsRecord<Params> || ...)) {
        // On Windows a late-bound call always has a variable for the return value.
        if (binding == EBinding::Late && (kOnLinux || !(IsNullOutput(args) || ...))) {
            return CallLate<kMethod>(object, args...);
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
