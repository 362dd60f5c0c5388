// Late-bound calls against an interface with one method for each kind of parameter. Leaks
// on any path are the sanitizers' to find.
#include "automation/dispatch.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <variant>
#include <vector>

#include "ZorelText.h"
#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "automation/guid.h"
#include "automation/variant.h"
#include "support/counted_object.h"

namespace {

using automation::CBstr;
using automation::CComPtr;
using automation::CVariant;
using automation::NewBstr;
using automation::TextOf;

struct Pair {
    BSTR text;
    LONGLONG number;
};
constexpr GUID kPairGuid = {1, 2, 3, {4}};
constexpr IID kProbeIid = {5, 6, 7, {8}};
constexpr GUID kSampleGuid = {0x01234567, 0x89ab, 0xcdef, {1, 2, 3, 4, 5, 6, 7, 8}};

struct IProbe : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE TakeInt(INT number, BSTR* seen) = 0;
    virtual HRESULT STDMETHODCALLTYPE TakeULong(ULONG number, BSTR* seen) = 0;
    virtual HRESULT STDMETHODCALLTYPE TakeLong64(LONGLONG number, BSTR* seen) = 0;
    virtual HRESULT STDMETHODCALLTYPE TakeULong64(ULONGLONG number, BSTR* seen) = 0;
    virtual HRESULT STDMETHODCALLTYPE TakeBool(VARIANT_BOOL flag, BSTR* seen) = 0;
    virtual HRESULT STDMETHODCALLTYPE TakeDate(DATE date, BSTR* seen) = 0;
    virtual HRESULT STDMETHODCALLTYPE TakeText(BSTR text, BSTR* seen) = 0;
    virtual HRESULT STDMETHODCALLTYPE TakeGuid(GUID guid, GUID* seen) = 0;
    virtual HRESULT STDMETHODCALLTYPE TakePairs(Pair byValue, Pair* byPointer, BSTR* seen) = 0;
    virtual HRESULT STDMETHODCALLTYPE GiveAll(INT hr, BSTR* text, INT* number, VARIANT_BOOL* flag,
                                              GUID* guid, SAFEARRAY** list, IProbe** self,
                                              Pair* pair) = 0;
    virtual HRESULT STDMETHODCALLTYPE GiveSelf(INT hr, IProbe** self) = 0;
    virtual HRESULT STDMETHODCALLTYPE Odd(BSTR text, BSTR* first, BSTR** second) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Total(ULONGLONG* total) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Names(SAFEARRAY** names) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Pair(Pair* pair) = 0;

protected:
    ~IProbe() = default;
};

constexpr automation::FieldDesc kPairFields[] = {
    automation::Field<BSTR>(u"text", offsetof(Pair, text)),
    automation::Field<LONGLONG>(u"number", offsetof(Pair, number)),
};
constexpr automation::RecordDesc kPair = {u"Pair", &kPairGuid, sizeof(Pair), kPairFields};

}  // namespace

namespace automation {
template <>
struct RecordTraits<Pair> {
    static constexpr const RecordDesc& kDesc = kPair;
};
template <>
struct InterfaceTraits<IProbe> {
    static constexpr const IID& kIid = kProbeIid;
};
}  // namespace automation

namespace {

using automation::In;
using automation::Method;
using automation::Out;
using automation::PropertyGet;
using automation::Retval;
using automation::Unspecified;

enum EProbeId : DISPID {
    kTakeInt = 0x60020000,
    kTakeULong,
    kTakeLong64,
    kTakeULong64,
    kTakeBool,
    kTakeDate,
    kTakeText,
    kTakeGuid,
    kTakePairs,
    kGiveAll,
    kGiveSelf,
    kOdd,
    kTotal,
    kNames,
    kGetPair,
};

constexpr auto kProbeMethods = automation::Methods(
    kTakeInt, Method<&IProbe::TakeInt>(u"TakeInt", In(u"number"), Retval(u"seen")),
    Method<&IProbe::TakeULong>(u"TakeULong", In(u"number"), Retval(u"seen")),
    Method<&IProbe::TakeLong64>(u"TakeLong64", In(u"number"), Retval(u"seen")),
    Method<&IProbe::TakeULong64>(u"TakeULong64", In(u"number"), Retval(u"seen")),
    Method<&IProbe::TakeBool>(u"TakeBool", In(u"flag"), Retval(u"seen")),
    Method<&IProbe::TakeDate>(u"TakeDate", In(u"date"), Retval(u"seen")),
    Method<&IProbe::TakeText>(u"TakeText", In(u"text"), Retval(u"seen")),
    Method<&IProbe::TakeGuid>(u"TakeGuid", In(u"guid"), Retval(u"seen")),
    Method<&IProbe::TakePairs>(u"TakePairs", Unspecified(u"byValue"), In(u"byPointer"),
                               Retval(u"seen")),
    Method<&IProbe::GiveAll>(u"GiveAll", In(u"hr"), Out(u"text"), Out(u"number"), Out(u"flag"),
                             Out(u"guid"), Out(u"list"), Out(u"self"), Out(u"pair")),
    Method<&IProbe::GiveSelf>(u"GiveSelf", In(u"hr"), Unspecified(u"self")),
    Method<&IProbe::Odd>(u"Odd", Unspecified(u"text"), Unspecified(u"first"),
                         Unspecified(u"second")),
    PropertyGet<&IProbe::get_Total>(u"Total", Retval(u"total")),
    PropertyGet<&IProbe::get_Names>(u"Names", Retval(u"names")),
    PropertyGet<&IProbe::get_Pair>(u"Pair", Retval(u"pair")));
constexpr automation::InterfaceTable kProbeTable = {u"IProbe", &kProbeIid, nullptr, 1,
                                                    kProbeMethods};

HRESULT PrintSummary(const std::string& text, BSTR* seen) {
    *seen = NewBstr(zorel::ToUtf16(text));
    return S_OK;
}

SAFEARRAY* NewNames() {
    SAFEARRAY* names = SafeArrayCreateVector(VT_BSTR, 0, 1);
    static_cast<BSTR*>(names->pvData)[0] = NewBstr(u"name");
    return names;
}

void SetTexts(ICreateErrorInfo& maker) {
    std::u16string source = u"source";
    std::u16string description = u"description";
    maker.SetSource(reinterpret_cast<LPOLESTR>(source.data()));
    maker.SetDescription(reinterpret_cast<LPOLESTR>(description.data()));
    maker.SetHelpContext(3);
}

class CProbe final : public IProbe {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        return automation::DispatchGetTypeInfoCount(kProbeTable, count);
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override {
        return automation::DispatchGetTypeInfo(kProbeTable, index, locale, info);
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count,
                                            LCID locale, DISPID* ids) override {
        return automation::DispatchGetIDsOfNames(kProbeTable, reserved, names, count, locale, ids);
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags,
                                     DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                     UINT* badArgument) override {
        return automation::DispatchInvoke(kProbeTable, this, id, reserved, locale, flags, params,
                                          result, exception, badArgument);
    }

    HRESULT STDMETHODCALLTYPE TakeInt(INT number, BSTR* seen) override {
        return PrintSummary(std::to_string(number), seen);
    }
    HRESULT STDMETHODCALLTYPE TakeULong(ULONG number, BSTR* seen) override {
        return PrintSummary(std::to_string(number), seen);
    }
    HRESULT STDMETHODCALLTYPE TakeLong64(LONGLONG number, BSTR* seen) override {
        return PrintSummary(std::to_string(number), seen);
    }
    HRESULT STDMETHODCALLTYPE TakeULong64(ULONGLONG number, BSTR* seen) override {
        return PrintSummary(std::to_string(number), seen);
    }
    HRESULT STDMETHODCALLTYPE TakeBool(VARIANT_BOOL flag, BSTR* seen) override {
        return PrintSummary(std::to_string(flag), seen);
    }
    HRESULT STDMETHODCALLTYPE TakeDate(DATE date, BSTR* seen) override {
        return PrintSummary(std::to_string(date), seen);
    }
    HRESULT STDMETHODCALLTYPE TakeText(BSTR text, BSTR* seen) override {
        return PrintSummary(text == nullptr ? "(null)" : zorel::ToUtf8(TextOf(text)), seen);
    }
    HRESULT STDMETHODCALLTYPE TakeGuid(GUID guid, GUID* seen) override {
        *seen = guid;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE TakePairs(Pair byValue, Pair* byPointer, BSTR* seen) override {
        return PrintSummary(
            std::to_string(byValue.number) + "/" +
                (byPointer == nullptr ? "null" : zorel::ToUtf8(TextOf(byPointer->text))),
            seen);
    }
    HRESULT STDMETHODCALLTYPE GiveAll(INT hr, BSTR* text, INT* number, VARIANT_BOOL* flag,
                                      GUID* guid, SAFEARRAY** list, IProbe** self,
                                      Pair* pair) override {
        *text = NewBstr(u"text");
        *number = -7;
        *flag = VARIANT_TRUE;
        *guid = kSampleGuid;
        *list = NewNames();
        AddRef();
        *self = this;
        *pair = {NewBstr(u"pair"), 77};
        if (hr == E_FAIL) {
            CComPtr<ICreateErrorInfo> maker;
            CreateErrorInfo(maker.Put());
            SetTexts(*maker.Get());
            CComPtr<IErrorInfo> info;
            maker->QueryInterface(IID_IErrorInfo, info.PutVoid());
            SetErrorInfo(0, info.Get());
        }
        return hr;
    }
    HRESULT STDMETHODCALLTYPE GiveSelf(INT hr, IProbe** self) override {
        if (self == nullptr) {
            return E_INVALIDARG;
        }
        *self = nullptr;
        if (hr == S_OK) {
            AddRef();
            *self = this;
        }
        return hr;
    }
    HRESULT STDMETHODCALLTYPE Odd(BSTR, BSTR*, BSTR**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE get_Total(ULONGLONG* total) override {
        *total = std::numeric_limits<ULONGLONG>::max();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Names(SAFEARRAY** names) override {
        *names = NewNames();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE get_Pair(Pair* pair) override {
        *pair = {NewBstr(u"kept"), 5};
        return S_OK;
    }

    ULONG references = 0;
};

// ----- Making arguments ---------------------------------------------------------

using Content = std::variant<std::int64_t, double, const char16_t*>;

CVariant Value(VARTYPE type, const Content& content = std::int64_t{0}) {
    CVariant variant;
    VARIANT& value = variant.Get();
    value.vt = type;
    if (const auto* text = std::get_if<const char16_t*>(&content)) {
        value.bstrVal = *text == nullptr ? nullptr : NewBstr(*text);
    } else if (const auto* real = std::get_if<double>(&content); real == nullptr) {
        value.llVal = std::get<std::int64_t>(content);
    } else if (type == VT_R4) {
        value.fltVal = static_cast<float>(*real);
    } else {
        value.dblVal = *real;
    }
    return variant;
}

VARIANT Reference(VARTYPE type, void* target) {
    VARIANT value = {};
    value.vt = static_cast<VARTYPE>(VT_BYREF | type);
    value.byref = target;
    return value;
}

VARIANT Record(Pair* pair, VARTYPE modifier = 0) {
    VARIANT value = {};
    value.vt = static_cast<VARTYPE>(VT_RECORD | modifier);
    value.pvRecord = pair;
    return value;
}

// `arguments` in declaration order; the last names.size() parameters' numbers are `named`.
HRESULT Call(IProbe& probe, DISPID id, std::vector<VARIANT> arguments, VARIANT* result = nullptr,
             UINT* badArgument = nullptr, EXCEPINFO* exception = nullptr,
             std::vector<DISPID> named = {}, WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET) {
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    std::vector<DISPID> numbers(named.rbegin(), named.rend());
    DISPPARAMS params = {reversed.data(), numbers.data(), static_cast<UINT>(reversed.size()),
                         static_cast<UINT>(numbers.size())};
    return probe.Invoke(id, IID_NULL, 0, flags, &params, result, exception, badArgument);
}

// ----- Names --------------------------------------------------------------------

TEST(Dispatch, FindsNamesWithoutRegardToCase) {
    struct Row {
        std::vector<std::u16string> names;
        HRESULT hr;
        std::vector<DISPID> ids;
    };
    const Row rows[] = {
        {{u"TakeInt"}, S_OK, {kTakeInt}},
        {{u"tAKEiNT", u"NUMBER", u"seen"}, S_OK, {kTakeInt, 0, 1}},
        {{u"giveall", u"pair", u"HR"}, S_OK, {kGiveAll, 7, 0}},
        {{u"total"}, S_OK, {kTotal}},
        {{u"get_Total"}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
        {{u"TakeIn"}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
        {{u"TakeInts"}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
        {{u"TakeInt", u"flag", u"seen"}, DISP_E_UNKNOWNNAME, {kTakeInt, DISPID_UNKNOWN, 1}},
        {{u"None", u"number"}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN, DISPID_UNKNOWN}},
    };
    CProbe probe;
    for (Row row : rows) {
        SCOPED_TRACE(zorel::ToUtf8(row.names[0]));
        std::vector<LPOLESTR> names;
        for (std::u16string& name : row.names) {
            names.push_back(reinterpret_cast<LPOLESTR>(name.data()));
        }
        std::vector<DISPID> ids(names.size());
        const auto count = static_cast<UINT>(names.size());
        EXPECT_EQ(probe.GetIDsOfNames(IID_NULL, names.data(), count, 0, ids.data()), row.hr);
        EXPECT_EQ(ids, row.ids);
        EXPECT_EQ(probe.GetIDsOfNames(IID_IUnknown, names.data(), count, 0, ids.data()),
                  DISP_E_UNKNOWNINTERFACE);
    }
}

TEST(Dispatch, HasNoTypeInformation) {
    CProbe probe;
    UINT count = 9;
    EXPECT_EQ(probe.GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 0U);
    auto* info = reinterpret_cast<ITypeInfo*>(&count);
    EXPECT_EQ(probe.GetTypeInfo(0, 0, &info), DISP_E_BADINDEX);
    EXPECT_EQ(info, nullptr);
}

// ----- Coercions ----------------------------------------------------------------

TEST(Dispatch, CoercesArguments) {
    using I = std::int64_t;
    constexpr I kLowest = std::numeric_limits<I>::min();
    const struct {
        DISPID method;
        VARTYPE type;
        Content content;
        const char* seen;  // null: refused with `hr`
        HRESULT hr = S_OK;
    } rows[] = {
        {kTakeInt, VT_I4, I{-5}, "-5"},
        {kTakeInt, VT_INT, I{-6}, "-6"},
        {kTakeInt, VT_EMPTY, I{0}, "0"},
        {kTakeInt, VT_I1, I{0x80}, "-128"},
        {kTakeInt, VT_UI1, I{0x80}, "128"},
        {kTakeInt, VT_I2, I{0xFFFF}, "-1"},
        {kTakeInt, VT_UI2, I{0xFFFF}, "65535"},
        {kTakeInt, VT_UI4, I{0x7FFFFFFF}, "2147483647"},
        {kTakeInt, VT_UI4, I{0x80000000}, nullptr, DISP_E_OVERFLOW},
        {kTakeInt, VT_I8, I{-2147483648LL}, "-2147483648"},
        {kTakeInt, VT_I8, I{-2147483649LL}, nullptr, DISP_E_OVERFLOW},
        {kTakeInt, VT_UI8, I{-1}, nullptr, DISP_E_OVERFLOW},
        {kTakeInt, VT_BOOL, I{0xFFFF}, "-1"},
        {kTakeInt, VT_R4, 2.5, "2"},
        {kTakeInt, VT_R8, 3.5, "4"},
        {kTakeInt, VT_R8, -2.5, "-2"},
        {kTakeInt, VT_R8, 2147483647.49, "2147483647"},
        {kTakeInt, VT_R8, 2147483647.5, nullptr, DISP_E_OVERFLOW},
        {kTakeInt, VT_R8, -2147483648.5, "-2147483648"},
        {kTakeInt, VT_R8, std::numeric_limits<double>::quiet_NaN(), nullptr, DISP_E_OVERFLOW},
        {kTakeInt, VT_CY, I{-25000}, "-2"},
        {kTakeInt, VT_DATE, 45000.7, "45001"},
        {kTakeInt, VT_BSTR, u" -12 ", "-12"},
        {kTakeInt, VT_BSTR, u"+1,234", "1234"},
        {kTakeInt, VT_BSTR, u"2.5e1", "25"},
        {kTakeInt, VT_BSTR, u".5", "0"},
        {kTakeInt, VT_BSTR, u"2147483648", nullptr, DISP_E_OVERFLOW},
        {kTakeInt, VT_BSTR, u"12x", nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_BSTR, u"", nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_BSTR, u"-", nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_BSTR, u"--1", nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_BSTR, u"inf", nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_BSTR, u"\u0661", nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_BSTR, nullptr, nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_NULL, I{0}, nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_DISPATCH, I{0}, nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_ARRAY | VT_I4, I{0}, nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_ERROR, I{E_FAIL}, nullptr, DISP_E_TYPEMISMATCH},
        {kTakeInt, VT_ERROR, I{DISP_E_PARAMNOTFOUND}, nullptr, DISP_E_PARAMNOTOPTIONAL},
        {kTakeInt, 99, I{0}, nullptr, DISP_E_BADVARTYPE},
        {kTakeULong, VT_UI4, I{0xFFFFFFFF}, "4294967295"},
        {kTakeULong, VT_I4, I{-1}, nullptr, DISP_E_OVERFLOW},
        {kTakeULong, VT_BOOL, I{0xFFFF}, "4294967295"},
        {kTakeULong, VT_R8, -0.5, "0"},
        {kTakeULong, VT_R8, 4294967295.5, nullptr, DISP_E_OVERFLOW},
        {kTakeLong64, VT_BSTR, u"-9223372036854775808", "-9223372036854775808"},
        {kTakeLong64, VT_BSTR, u"9223372036854775807", "9223372036854775807"},
        {kTakeLong64, VT_BSTR, u"9223372036854775808", nullptr, DISP_E_OVERFLOW},
        {kTakeLong64, VT_R8, 9223372036854775808.0, nullptr, DISP_E_OVERFLOW},
        {kTakeLong64, VT_R8, -9223372036854775808.0, "-9223372036854775808"},
        {kTakeULong64, VT_BSTR, u"18446744073709551615", "18446744073709551615"},
        {kTakeULong64, VT_BSTR, u"18446744073709551616", nullptr, DISP_E_OVERFLOW},
        {kTakeULong64, VT_BSTR, u"1e999", nullptr, DISP_E_OVERFLOW},
        {kTakeULong64, VT_I8, kLowest, nullptr, DISP_E_OVERFLOW},
        {kTakeBool, VT_BOOL, I{1}, "1"},
        {kTakeBool, VT_I4, I{256}, "-1"},
        {kTakeBool, VT_R8, 0.0, "0"},
        {kTakeBool, VT_R8, 0.25, "-1"},
        {kTakeBool, VT_EMPTY, I{0}, "0"},
        {kTakeBool, VT_BSTR, u"tRUE", "-1"},
        {kTakeBool, VT_BSTR, u"#FALSE#", "0"},
        {kTakeBool, VT_BSTR, u"0", "0"},
        {kTakeBool, VT_BSTR, u"yes", nullptr, DISP_E_TYPEMISMATCH},
        {kTakeDate, VT_I4, I{2}, "2.000000"},
        {kTakeDate, VT_R8, 2958465.5, "2958465.500000"},
        {kTakeDate, VT_R8, 2958466.0, nullptr, DISP_E_OVERFLOW},
        {kTakeDate, VT_R8, -657435.0, nullptr, DISP_E_OVERFLOW},
        {kTakeDate, VT_BSTR, u"1/2/1900 6:00 PM", "3.750000"},
        {kTakeDate, VT_BSTR, u"1900-01-02 18:00:00", "3.750000"},
        {kTakeDate, VT_BSTR, u"12:00", "0.500000"},
        {kTakeDate, VT_BSTR, u"2/30/2000", nullptr, DISP_E_TYPEMISMATCH},
        {kTakeDate, VT_BSTR, u"1/2/1900x", nullptr, DISP_E_TYPEMISMATCH},
        {kTakeText, VT_BSTR, u"as it is", "as it is"},
        {kTakeText, VT_BSTR, nullptr, "(null)"},
        {kTakeText, VT_EMPTY, I{0}, ""},
        {kTakeText, VT_I8, kLowest, "-9223372036854775808"},
        {kTakeText, VT_UI8, I{-1}, "18446744073709551615"},
        {kTakeText, VT_BOOL, I{0xFFFF}, "-1"},
        {kTakeText, VT_R8, 0.1, "0.1"},
        {kTakeText, VT_R8, -0.0, "0"},
        {kTakeText, VT_R8, 1e20, "1E+20"},
        {kTakeText, VT_R4, 0.1, "0.1"},
        {kTakeText, VT_CY, I{-12345}, "-1.2345"},
        {kTakeText, VT_CY, kLowest, "-922337203685477.5808"},
        {kTakeText, VT_DATE, 3.75, "1/2/1900 6:00:00 PM"},
        {kTakeText, VT_DATE, 3.0, "1/2/1900"},
        {kTakeText, VT_DATE, 0.0, "12:00:00 AM"},
        {kTakeText, VT_DATE, 1e9, nullptr, DISP_E_OVERFLOW},
        {kTakeText, VT_NULL, I{0}, nullptr, DISP_E_TYPEMISMATCH},
    };
    CProbe probe;
    int index = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE("row " + std::to_string(index++) + ", VARTYPE " + std::to_string(row.type));
        CVariant direct = Value(row.type, row.content);
        VARIANT byReference = Reference(row.type, &direct.Get().llVal);
        std::vector<VARIANT> forms = {direct.Get(), Reference(VT_VARIANT, &direct.Get())};
        if (row.type != VT_EMPTY && row.type != VT_NULL && row.type != VT_ERROR && row.type != 99) {
            forms.push_back(byReference);
            forms.push_back(Reference(VT_VARIANT, &byReference));
        }
        for (const VARIANT& form : forms) {
            CVariant result;
            UINT badArgument = 9;
            const HRESULT hr = Call(probe, row.method, {form}, result.Put(), &badArgument);
            ASSERT_EQ(hr, row.hr);
            ASSERT_EQ(result.Get().vt, row.seen == nullptr ? VT_EMPTY : VT_BSTR);
            if (row.seen != nullptr) {
                EXPECT_EQ(zorel::ToUtf8(TextOf(result.Get().bstrVal)), row.seen);
            } else {
                EXPECT_EQ(badArgument, 0U);
            }
        }
        if (row.type == 99) {
            direct.Get().vt = VT_EMPTY;
        }
    }
}

// ----- The shape of a call ------------------------------------------------------

TEST(Dispatch, RefusesCallsOfTheWrongShape) {
    CProbe probe;
    VARIANT one = {};
    one.vt = VT_I4;
    BSTR text = nullptr;
    const VARIANT reference = Reference(VT_BSTR, &text);
    const struct {
        const char* label;
        DISPID id;
        std::vector<VARIANT> arguments;
        std::vector<DISPID> named;
        WORD flags;
        HRESULT hr;
    } rows[] = {
        {"no such id", 1, {}, {}, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {"method as property", kTakeInt, {one}, {}, DISPATCH_PROPERTYGET, DISP_E_MEMBERNOTFOUND},
        {"property as method", kTotal, {}, {}, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {"property put", kTotal, {one}, {}, DISPATCH_PROPERTYPUT, DISP_E_MEMBERNOTFOUND},
        {"property as either", kTotal, {}, {}, DISPATCH_METHOD | DISPATCH_PROPERTYGET, S_OK},
        {"nothing given", kTakeInt, {}, {}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {"too much", kTakeInt, {one, one}, {}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {"far too much", kTakeInt, {one, one, one}, {}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {"named", kTakeInt, {one}, {0}, DISPATCH_METHOD, S_OK},
        {"named wrongly", kTakeInt, {one}, {2}, DISPATCH_METHOD, DISP_E_PARAMNOTFOUND},
        {"negative name",
         kTakeInt,
         {one},
         {DISPID_PROPERTYPUT},
         DISPATCH_METHOD,
         DISP_E_PARAMNOTFOUND},
        {"given twice", kGiveSelf, {one, one}, {0}, DISPATCH_METHOD, DISP_E_PARAMNOTFOUND},
        {"result for argument",
         kTakeInt,
         {reference},
         {1},
         DISPATCH_METHOD,
         DISP_E_PARAMNOTOPTIONAL},
        {"result by reference", kTakeInt, {one, reference}, {}, DISPATCH_METHOD, S_OK},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(
            Call(probe, row.id, row.arguments, nullptr, nullptr, nullptr, row.named, row.flags),
            row.hr)
            << row.label;
    }
    const CBstr owned(text);
    EXPECT_EQ(TextOf(text), u"0");
    DISPPARAMS params = {nullptr, nullptr, 1, 0};
    EXPECT_EQ(
        probe.Invoke(kTakeInt, IID_NULL, 0, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr),
        E_INVALIDARG);
    EXPECT_EQ(
        probe.Invoke(kTakeInt, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr),
        E_INVALIDARG);
    EXPECT_EQ(probe.Invoke(kTakeInt, IID_IUnknown, 0, DISPATCH_METHOD, &params, nullptr, nullptr,
                           nullptr),
              DISP_E_UNKNOWNINTERFACE);
}

// ----- Outputs ------------------------------------------------------------------

// Variables of the types that GiveAll fills.
struct Outputs {
    BSTR text = nullptr;
    INT number = 0;
    VARIANT_BOOL flag = VARIANT_FALSE;
    GUID guid = {};
    SAFEARRAY* list = nullptr;
    IDispatch* self = nullptr;
    Pair pair = {};

    std::vector<VARIANT> References(HRESULT hr) {
        VARIANT result = {};
        result.vt = VT_I4;
        result.lVal = hr;
        return {result,
                Reference(VT_BSTR, &text),
                Reference(VT_I4, &number),
                Reference(VT_BOOL, &flag),
                Reference(VT_RECORD, &guid),
                Reference(VT_ARRAY | VT_BSTR, &list),
                Reference(VT_DISPATCH, &self),
                Reference(VT_RECORD, &pair)};
    }
};

TEST(Dispatch, FillsVariablesOfTheExactType) {
    CProbe probe;
    Outputs out;
    // What a pure output held before is not looked at: this is no string.
    out.text = reinterpret_cast<BSTR>(&out.number);
    ASSERT_EQ(Call(probe, kGiveAll, out.References(S_OK)), S_OK);
    const CBstr text(out.text);
    const automation::CSafeArrayPtr list(out.list);
    const CBstr pairText(out.pair.text);
    EXPECT_EQ(TextOf(out.text), u"text");
    EXPECT_EQ(out.number, -7);
    EXPECT_EQ(out.flag, VARIANT_TRUE);
    EXPECT_EQ(out.guid, kSampleGuid);
    EXPECT_EQ(TextOf(static_cast<BSTR*>(out.list->pvData)[0]), u"name");
    EXPECT_EQ(out.self, &probe);
    EXPECT_EQ(probe.references, 1U);
    EXPECT_EQ(TextOf(out.pair.text), u"pair");
    EXPECT_EQ(out.pair.number, 77);
}

TEST(Dispatch, FillsVariantsAfterClearingThem) {
    CProbe probe;
    support::CCountedObject old;
    std::vector<CVariant> variables(7);
    CVariant hr = Value(VT_I4);
    std::vector<VARIANT> arguments = {hr.Get()};
    for (CVariant& variable : variables) {
        old.AddRef();
        variable.Get().vt = VT_UNKNOWN;
        variable.Get().punkVal = &old;
        arguments.push_back(Reference(VT_VARIANT, &variable.Get()));
    }
    ASSERT_EQ(Call(probe, kGiveAll, arguments), S_OK);
    EXPECT_EQ(old.References(), 0U);
    const VARTYPE types[] = {VT_BSTR,     VT_I4,    VT_BOOL, VT_RECORD, VT_ARRAY | VT_BSTR,
                             VT_DISPATCH, VT_RECORD};
    for (std::size_t i = 0; i < variables.size(); ++i) {
        EXPECT_EQ(variables[i].Get().vt, types[i]) << i;
    }
    EXPECT_EQ(*static_cast<GUID*>(variables[3].Get().pvRecord), kSampleGuid);
    EXPECT_EQ(static_cast<Pair*>(variables[6].Get().pvRecord)->number, 77);
    variables.clear();
    EXPECT_EQ(probe.references, 0U);
}

TEST(Dispatch, LeavesVariablesAloneWhenTheCallFails) {
    CProbe probe;
    Outputs out;
    const CBstr kept(NewBstr(u"kept"));
    out.text = kept.Get();
    EXPECT_EQ(Call(probe, kGiveAll, out.References(E_FAIL)), DISP_E_EXCEPTION);
    EXPECT_EQ(out.text, kept.Get());
    EXPECT_EQ(out.number, 0);
    EXPECT_EQ(out.list, nullptr);
    EXPECT_EQ(probe.references, 0U);
    // Every argument in turn is one that cannot be filled.
    for (std::size_t i = 1; i < 8; ++i) {
        for (const VARTYPE wrong : {VARTYPE{VT_I8}, VARTYPE{VT_BYREF | VT_I8}}) {
            std::vector<VARIANT> arguments = out.References(S_OK);
            LONGLONG number = 0;
            arguments[i] = Reference(VT_I8, &number);
            arguments[i].vt = wrong;
            UINT badArgument = 99;
            EXPECT_EQ(Call(probe, kGiveAll, arguments, nullptr, &badArgument), DISP_E_TYPEMISMATCH);
            EXPECT_EQ(badArgument, 7 - i);
        }
    }
    EXPECT_EQ(probe.references, 0U);
}

TEST(Dispatch, TreatsAMissingDirectionAsAReference) {
    CProbe probe;
    probe.AddRef();
    IDispatch* self = &probe;  // the old content: replaced, so given back
    CVariant hr = Value(VT_I4);
    EXPECT_EQ(Call(probe, kGiveSelf, {hr.Get(), Reference(VT_DISPATCH, &self)}), S_OK);
    EXPECT_EQ(self, &probe);
    EXPECT_EQ(probe.references, 1U);
    // "Not found" is a success with nothing in it.
    hr.Get().lVal = S_FALSE;
    CVariant variable;
    EXPECT_EQ(Call(probe, kGiveSelf, {hr.Get(), Reference(VT_VARIANT, &variable.Get())}), S_OK);
    EXPECT_EQ(variable.Get().vt, VT_DISPATCH);
    EXPECT_EQ(variable.Get().pdispVal, nullptr);
    // A null reference is the method's to judge.
    EXCEPINFO exception = {};
    EXPECT_EQ(Call(probe, kGiveSelf, {hr.Get(), Reference(VT_DISPATCH, nullptr)}, nullptr, nullptr,
                   &exception),
              DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, E_INVALIDARG);

    BSTR first = nullptr;
    BSTR second = nullptr;
    for (const VARIANT& last : {Reference(VT_BSTR, &second), Reference(VT_BSTR, nullptr), VARIANT{},
                                Reference(VT_VARIANT, &variable.Get())}) {
        EXPECT_EQ(Call(probe, kOdd, {VARIANT{}, Reference(VT_BSTR, &first), last}, nullptr, nullptr,
                       &exception),
                  DISP_E_EXCEPTION);
        EXPECT_EQ(exception.scode, E_NOTIMPL);
    }
}

// ----- Records, results, errors -------------------------------------------------

TEST(Dispatch, TakesRecordsAndGuids) {
    CProbe probe;
    const CBstr text(NewBstr(u"by pointer"));
    Pair pair = {text.Get(), 12};
    CVariant result;
    for (const VARTYPE modifier : {VARTYPE{0}, VARTYPE{VT_BYREF}}) {
        const VARIANT record = Record(&pair, modifier);
        ASSERT_EQ(Call(probe, kTakePairs, {record, record}, result.Put()), S_OK);
        EXPECT_EQ(TextOf(result.Get().bstrVal), u"12/by pointer");
    }
    ASSERT_EQ(Call(probe, kTakePairs, {Record(&pair), Record(nullptr)}, result.Put()), S_OK);
    EXPECT_EQ(TextOf(result.Get().bstrVal), u"12/null");
    UINT badArgument = 9;
    EXPECT_EQ(Call(probe, kTakePairs, {Record(nullptr), Record(&pair)}, result.Put(), &badArgument),
              DISP_E_TYPEMISMATCH);
    EXPECT_EQ(badArgument, 1U);

    GUID guid = kSampleGuid;
    std::u16string plain = automation::UuidToString(guid);
    VARIANT record = {};
    record.vt = VT_RECORD;
    record.pvRecord = &guid;
    const CVariant bare = Value(VT_BSTR, plain.c_str());
    const CVariant braced = Value(VT_BSTR, (u"{" + plain + u"}").c_str());
    const CVariant broken = Value(VT_BSTR, (u"{" + plain).c_str());
    for (const VARIANT& form : {record, bare.Get(), braced.Get()}) {
        ASSERT_EQ(Call(probe, kTakeGuid, {form}, result.Put()), S_OK);
        ASSERT_EQ(result.Get().vt, VT_RECORD);
        EXPECT_EQ(*static_cast<GUID*>(result.Get().pvRecord), kSampleGuid);
    }
    // What one call gave goes into the next; a record of another kind does not.
    EXPECT_EQ(Call(probe, kTakeGuid, {result.Get()}), S_OK);
    EXPECT_EQ(Call(probe, kTakePairs, {result.Get(), result.Get()}), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(Call(probe, kTakeGuid, {broken.Get()}), DISP_E_TYPEMISMATCH);
}

TEST(Dispatch, GivesResultsTheirOwnType) {
    CProbe probe;
    CVariant result;
    ASSERT_EQ(Call(probe, kTotal, {}, result.Put()), S_OK);
    EXPECT_EQ(result.Get().vt, VT_UI8);
    EXPECT_EQ(result.Get().ullVal, std::numeric_limits<ULONGLONG>::max());
    ASSERT_EQ(Call(probe, kNames, {}, result.Put()), S_OK);
    EXPECT_EQ(result.Get().vt, VT_ARRAY | VT_BSTR);
    for (const DISPID id : {kTotal, kNames, kGetPair}) {
        EXPECT_EQ(Call(probe, id, {}), S_OK);  // the result is not wanted, and freed
    }
}

std::u16string NameOf(IRecordInfo& info) {
    CBstr name;
    EXPECT_EQ(info.GetName(name.Put()), S_OK);
    return std::u16string(TextOf(name.Get()));
}

TEST(Dispatch, DescribesTheRecordsItGives) {
    CProbe probe;
    CVariant result;
    ASSERT_EQ(Call(probe, kGetPair, {}, result.Put()), S_OK);
    IRecordInfo& info = *result.Get().pRecInfo;
    void* record = result.Get().pvRecord;
    EXPECT_EQ(NameOf(info), u"Pair");
    ULONG count = 9;
    BSTR names[9] = {};
    ASSERT_EQ(info.GetFieldNames(&count, names), S_OK);
    ASSERT_EQ(count, 2U);
    const CBstr first(names[0]);
    const CBstr second(names[1]);
    EXPECT_EQ(TextOf(names[1]), u"number");

    CVariant field;
    ASSERT_EQ(info.GetField(record, u"TEXT", field.Put()), S_OK);
    EXPECT_NE(field.Get().bstrVal, static_cast<Pair*>(record)->text);
    EXPECT_EQ(TextOf(field.Get().bstrVal), u"kept");
    CVariant number = Value(VT_BSTR, u"42");
    EXPECT_EQ(info.PutField(DISPATCH_PROPERTYPUT, record, u"number", &number.Get()), S_OK);
    EXPECT_EQ(info.PutField(DISPATCH_PROPERTYPUT, record, u"text", &number.Get()), S_OK);
    EXPECT_EQ(info.PutField(DISPATCH_PROPERTYPUT, record, u"none", &number.Get()),
              DISP_E_UNKNOWNNAME);
    EXPECT_EQ(info.PutField(DISPATCH_METHOD, record, u"text", &number.Get()), E_INVALIDARG);
    void* copy = nullptr;
    ASSERT_EQ(info.RecordCreateCopy(record, &copy), S_OK);
    EXPECT_EQ(info.PutFieldNoCopy(DISPATCH_PROPERTYPUT, record, u"text", &field.Get()), S_OK);
    EXPECT_EQ(field.Get().vt, VT_EMPTY);  // the record owns it now
    EXPECT_EQ(TextOf(static_cast<Pair*>(copy)->text), u"42");
    EXPECT_EQ(static_cast<Pair*>(copy)->number, 42);
    EXPECT_EQ(info.RecordCopy(record, copy), S_OK);
    EXPECT_EQ(info.RecordCopy(copy, copy), S_OK);
    EXPECT_EQ(TextOf(static_cast<Pair*>(copy)->text), u"kept");
    EXPECT_EQ(info.RecordDestroy(copy), S_OK);

    CVariant guid;
    const CVariant text = Value(VT_BSTR, automation::UuidToString(kSampleGuid).c_str());
    ASSERT_EQ(Call(probe, kTakeGuid, {text.Get()}, guid.Put()), S_OK);
    EXPECT_EQ(NameOf(*guid.Get().pRecInfo), u"GUID");
    EXPECT_FALSE(info.IsMatchingType(guid.Get().pRecInfo));
    ASSERT_EQ(guid.Get().pRecInfo->GetField(guid.Get().pvRecord, u"Data3", field.Put()), S_OK);
    EXPECT_EQ(field.Get().uiVal, 0xcdef);
}

TEST(Dispatch, ReportsFailuresWithTheirErrorInformation) {
    CProbe probe;
    Outputs out;
    // Without a place to report to, the information stays for the caller to fetch.
    EXPECT_EQ(Call(probe, kGiveAll, out.References(E_FAIL)), DISP_E_EXCEPTION);
    CComPtr<IErrorInfo> info;
    EXPECT_EQ(GetErrorInfo(0, info.Put()), S_OK);

    EXCEPINFO exception;
    EXPECT_EQ(Call(probe, kGiveAll, out.References(E_FAIL), nullptr, nullptr, &exception),
              DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, E_FAIL);
    EXPECT_EQ(exception.dwHelpContext, 3U);
    const CBstr source(exception.bstrSource);
    const CBstr description(exception.bstrDescription);
    EXPECT_EQ(TextOf(source.Get()), u"source");
    EXPECT_EQ(TextOf(description.Get()), u"description");
    CComPtr<IErrorInfo> left;
    EXPECT_EQ(GetErrorInfo(0, left.Put()), S_FALSE);

    // A failure that says nothing does not repeat what an earlier one said.
    SetErrorInfo(0, info.Get());
    EXPECT_EQ(Call(probe, kGiveAll, out.References(E_NOTIMPL), nullptr, nullptr, &exception),
              DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, E_NOTIMPL);
    EXPECT_EQ(exception.bstrDescription, nullptr);
    EXPECT_EQ(exception.bstrSource, nullptr);
}

}  // namespace
