// Late-bound calls of an interface with each kind of parameter. The sanitizers find leaks.
#include "automation/dispatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "ZorelText.h"
#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "automation/guid.h"
#include "automation/posix/record_info.h"
#include "automation/posix/variant_convert.h"
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
    virtual HRESULT Take(INT number, Pair byValue, Pair* byPointer, BSTR* seen) = 0;
    virtual HRESULT TakeGuid(GUID guid, GUID* seen) = 0;
    virtual HRESULT Give(INT hr, BSTR* text, INT* number, GUID* guid, SAFEARRAY** list,
                         IProbe** self, Pair* pair) = 0;
    virtual HRESULT GiveSelf(INT hr, IProbe** self) = 0;
    virtual HRESULT get_Total(ULONGLONG* total) = 0;

protected:
    ~IProbe() = default;
};

constexpr automation::FieldDesc kPairFields[] = {
    automation::Field<BSTR>(u"text", offsetof(Pair, text)),
    automation::Field<LONGLONG>(u"number", offsetof(Pair, number)),
};
constexpr automation::RecordDesc kPair = {u"Pair", &kPairGuid, sizeof(Pair), kPairFields};

}  // namespace

template <>
struct automation::RecordTraits<Pair> {
    static constexpr const RecordDesc& kDesc = kPair;
};
template <>
struct automation::InterfaceTraits<IProbe> {
    static constexpr const IID& kIid = kProbeIid;
};

namespace {

using automation::In;
using automation::Method;
using automation::Out;
using automation::PropertyGet;
using automation::Retval;
using automation::Unspecified;

enum EProbeId : DISPID { kTake = 0x60020000, kTakeGuid, kGive, kGiveSelf, kTotal };

constexpr auto kProbeMethods = automation::Methods(
    kTake,
    Method<&IProbe::Take>(u"Take", In(u"number"), Unspecified(u"byValue"), In(u"byPointer"),
                          Retval(u"seen")),
    Method<&IProbe::TakeGuid>(u"TakeGuid", In(u"guid"), Retval(u"seen")),
    Method<&IProbe::Give>(u"Give", In(u"hr"), Out(u"text"), Out(u"number"), Out(u"guid"),
                          Out(u"list"), Out(u"self"), Out(u"pair")),
    Method<&IProbe::GiveSelf>(u"GiveSelf", In(u"hr"), Unspecified(u"self")),
    PropertyGet<&IProbe::get_Total>(u"Total", Retval(u"total")));
constexpr automation::InterfaceTable kTable = {u"IProbe", &kProbeIid, nullptr, 1, kProbeMethods};

class CProbe final : public IProbe {
public:
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override { return --references; }
    HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
        return automation::DispatchGetIDsOfNames(kTable, iid, names, count, 0, ids);
    }
    HRESULT Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                   EXCEPINFO* exception, UINT* bad) override {
        return automation::DispatchInvoke(kTable, this, id, iid, 0, flags, params, result,
                                          exception, bad);
    }
    HRESULT Take(INT number, Pair byValue, Pair* byPointer, BSTR* seen) override {
        *seen = NewBstr(zorel::ToUtf16(std::to_string(number + byValue.number) + "/") +
                        std::u16string(byPointer == nullptr ? u"null" : TextOf(byPointer->text)));
        return S_OK;
    }
    HRESULT TakeGuid(GUID guid, GUID* seen) override {
        *seen = guid;
        return S_OK;
    }
    HRESULT Give(INT hr, BSTR* text, INT* number, GUID* guid, SAFEARRAY** list, IProbe** self,
                 Pair* pair) override {
        *text = NewBstr(u"text");
        *number = -7;
        *guid = kSampleGuid;
        *list = SafeArrayCreateVector(VT_BSTR, 0, 1);
        static_cast<BSTR*>((*list)->pvData)[0] = NewBstr(u"name");
        AddRef();
        *self = this;
        *pair = {NewBstr(u"pair"), 77};
        return hr;
    }
    HRESULT GiveSelf(INT hr, IProbe** self) override {
        if (self == nullptr) {
            return E_INVALIDARG;
        }
        references += hr == S_OK ? 1 : 0;
        *self = hr == S_OK ? this : nullptr;
        return hr;
    }
    HRESULT get_Total(ULONGLONG* total) override {
        *total = std::numeric_limits<ULONGLONG>::max();
        return S_OK;
    }
    ULONG references = 0;
};

// An integer, a bool or a string.
CVariant Value(VARTYPE type, std::int64_t number = 0) {
    CVariant variant;
    variant.Get().vt = type;
    variant.Get().llVal = number;
    return variant;
}
CVariant Value(std::u16string_view text) {
    CVariant variant = Value(VT_BSTR);
    variant.Get().bstrVal = NewBstr(text);
    return variant;
}

VARIANT Reference(VARTYPE type, void* target) {
    VARIANT value = {};
    value.vt = static_cast<VARTYPE>(VT_BYREF | type);
    value.byref = target;
    return value;
}

VARIANT Record(void* record) {
    VARIANT value = {};
    value.vt = VT_RECORD;
    value.pvRecord = record;
    return value;
}

// `arguments` in declaration order, the last of them with the numbers `named`.
HRESULT Call(IProbe& probe, DISPID id, const std::vector<VARIANT>& arguments,
             VARIANT* result = nullptr, UINT* badArgument = nullptr, std::vector<DISPID> named = {},
             WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET) {
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    DISPPARAMS params = {reversed.data(), named.data(), static_cast<UINT>(reversed.size()),
                         static_cast<UINT>(named.size())};
    return probe.Invoke(id, IID_NULL, 0, flags, &params, result, nullptr, badArgument);
}

TEST(Dispatch, FindsNamesWithoutRegardToCase) {
    const struct {
        std::vector<std::u16string> names;
        std::vector<DISPID> ids;
    } rows[] = {
        {{u"tAKE", u"NUMBER", u"seen"}, {kTake, 0, 3}},
        {{u"giveself", u"self"}, {kGiveSelf, 1}},
        {{u"total"}, {kTotal}},
        {{u"get_Total"}, {DISPID_UNKNOWN}},
        {{u"Tak"}, {DISPID_UNKNOWN}},
        {{u"Take", u"flag", u"seen"}, {kTake, DISPID_UNKNOWN, 3}},
        {{u"None", u"number"}, {DISPID_UNKNOWN, DISPID_UNKNOWN}},
    };
    CProbe probe;
    for (auto row : rows) {
        std::vector<LPOLESTR> names;
        for (std::u16string& name : row.names) {
            names.push_back(name.data());
        }
        std::vector<DISPID> ids(names.size());
        const auto count = static_cast<UINT>(names.size());
        const bool known = std::count(row.ids.begin(), row.ids.end(), DISPID_UNKNOWN) == 0;
        EXPECT_EQ(probe.GetIDsOfNames(IID_NULL, names.data(), count, 0, ids.data()),
                  known ? S_OK : DISP_E_UNKNOWNNAME);
        EXPECT_EQ(ids, row.ids) << zorel::ToUtf8(row.names[0]);
        EXPECT_EQ(probe.GetIDsOfNames(IID_IUnknown, names.data(), count, 0, ids.data()),
                  DISP_E_UNKNOWNINTERFACE);
    }
}

// The value of "TYPE CONTENT": a VARTYPE with a text, a real number or an integer.
CVariant ParseValue(const std::string& cell) {
    const auto type = static_cast<VARTYPE>(std::stoi(cell));
    const std::string content = cell.substr(cell.find(' ') + 1);
    if (type == VT_BSTR) {
        return Value(zorel::ToUtf16(content));
    }
    const bool isReal = type == VT_R8 || type == VT_DATE;
    return Value(type, type == VT_R4 ? std::bit_cast<std::int32_t>(std::stof(content))
                       : isReal      ? std::bit_cast<std::int64_t>(std::stod(content))
                                     : std::stoll(content));
}

// The result of a conversion as text, or its failure.
std::string Convert(const CVariant& source, VARTYPE type) {
    CVariant result;
    CVariant text;
    const HRESULT hr = automation::detail::ConvertVariant(source.Get(), type, result);
    EXPECT_EQ(result.Get().vt, FAILED(hr) ? VARTYPE{VT_EMPTY} : type);
    if (FAILED(hr)) {
        return hr == DISP_E_OVERFLOW ? "overflow" : hr == DISP_E_TYPEMISMATCH ? "mismatch" : "bad";
    }
    EXPECT_EQ(automation::detail::ConvertVariant(result.Get(), VT_BSTR, text), S_OK);
    return zorel::ToUtf8(TextOf(text.Get().bstrVal));
}

// Each line of the table is a value and its conversions.
TEST(Dispatch, ConvertsValues) {
    std::ifstream table(ZOREL_SOURCE_DIR "/tests/data/variant_conversions.txt");
    int count = 0;
    for (std::string expected; std::getline(table, expected); ++count) {
        std::string line = expected.substr(0, expected.find(" | "));
        CVariant source = ParseValue(line);
        for (const VARTYPE type :
             {VT_BSTR, VT_UI2, VT_I4, VT_UI4, VT_I8, VT_UI8, VT_BOOL, VT_DATE}) {
            line += " | " + Convert(source, type);
        }
        EXPECT_EQ(line, expected);
        source.Get().vt = source.Get().vt == VT_BSTR ? VT_BSTR : VT_EMPTY;
    }
    EXPECT_GT(count, 70);
    EXPECT_EQ(Convert(Value(VT_BSTR), VT_I4), "mismatch");
}

TEST(Dispatch, RefusesCallsOfTheWrongShape) {
    CProbe probe;
    const VARIANT one = Value(VT_I4).Detach();
    const VARIANT missing = Value(VT_ERROR, DISP_E_PARAMNOTFOUND).Detach();
    IDispatch* object = nullptr;
    const VARIANT self = Reference(VT_DISPATCH, &object);
    ULONGLONG total = 0;
    const struct {
        DISPID id;
        std::vector<VARIANT> arguments;
        std::vector<DISPID> named;
        WORD flags;
        HRESULT hr;
    } rows[] = {
        {1, {}, {}, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {kTake, {one}, {}, DISPATCH_PROPERTYGET, DISP_E_MEMBERNOTFOUND},
        {kTotal, {}, {}, DISPATCH_METHOD, DISP_E_MEMBERNOTFOUND},
        {kTotal, {}, {}, DISPATCH_METHOD | DISPATCH_PROPERTYGET, S_OK},
        {kTotal, {Reference(VT_UI8, &total)}, {}, DISPATCH_PROPERTYGET, S_OK},
        {kTotal, {one}, {}, DISPATCH_PROPERTYGET, DISP_E_BADPARAMCOUNT},
        {kGiveSelf, {one}, {}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {kGiveSelf, {one, self, one}, {}, DISPATCH_METHOD, DISP_E_BADPARAMCOUNT},
        {kGiveSelf, {self, one}, {0, 1}, DISPATCH_METHOD, S_OK},
        {kGiveSelf, {one, self}, {2}, DISPATCH_METHOD, DISP_E_PARAMNOTFOUND},
        {kGiveSelf, {one, self}, {DISPID_PROPERTYPUT}, DISPATCH_METHOD, DISP_E_PARAMNOTFOUND},
        {kGiveSelf, {one, self}, {0}, DISPATCH_METHOD, DISP_E_PARAMNOTFOUND},
        {kGiveSelf, {missing, self}, {}, DISPATCH_METHOD, DISP_E_PARAMNOTOPTIONAL},
    };
    for (const auto& row : rows) {
        object = nullptr;
        EXPECT_EQ(Call(probe, row.id, row.arguments, nullptr, nullptr, row.named, row.flags),
                  row.hr)
            << &row - rows;
    }
    EXPECT_EQ(total, std::numeric_limits<ULONGLONG>::max());
    DISPPARAMS params = {nullptr, nullptr, 1, 0};
    for (DISPPARAMS* const bad : {&params, static_cast<DISPPARAMS*>(nullptr)}) {
        EXPECT_EQ(probe.Invoke(kTotal, IID_NULL, 0, 3, bad, nullptr, nullptr, nullptr),
                  E_INVALIDARG);
        EXPECT_EQ(probe.Invoke(kTotal, IID_IUnknown, 0, 3, bad, nullptr, nullptr, nullptr),
                  DISP_E_UNKNOWNINTERFACE);
    }
}

// Variables of the types that Give fills.
struct Outputs {
    BSTR text = nullptr;
    INT number = 0;
    GUID guid = {};
    SAFEARRAY* list = nullptr;
    IDispatch* self = nullptr;
    Pair pair = {};

    std::vector<VARIANT> References(HRESULT hr) {
        return {Value(VT_I4, hr).Detach(),
                Reference(VT_BSTR, &text),
                Reference(VT_I4, &number),
                Reference(VT_RECORD, &guid),
                Reference(VT_ARRAY | VT_BSTR, &list),
                Reference(VT_DISPATCH, &self),
                Reference(VT_RECORD, &pair)};
    }
};

TEST(Dispatch, FillsTypedVariablesAndClearedVariants) {
    CProbe probe;
    Outputs out;
    out.text = reinterpret_cast<BSTR>(&out.number);  // not a string: an output is not freed
    ASSERT_EQ(Call(probe, kGive, out.References(S_OK)), S_OK);
    const CBstr text(out.text);
    const automation::CSafeArrayPtr list(out.list);
    const CBstr pairText(out.pair.text);
    EXPECT_TRUE(TextOf(out.text) == u"text" && out.number == -7 && out.guid == kSampleGuid);
    EXPECT_EQ(TextOf(static_cast<BSTR*>(out.list->pvData)[0]), u"name");
    EXPECT_TRUE(out.self == &probe && TextOf(out.pair.text) == u"pair" && out.pair.number == 77);

    support::CCountedObject old;
    std::vector<CVariant> variables(6);
    std::vector<VARIANT> arguments = {Value(VT_I4).Detach()};
    for (CVariant& variable : variables) {
        old.AddRef();
        variable.Get().vt = VT_UNKNOWN;
        variable.Get().punkVal = &old;
        arguments.push_back(Reference(VT_VARIANT, &variable.Get()));
    }
    ASSERT_EQ(Call(probe, kGive, arguments), S_OK);
    EXPECT_EQ(old.References(), 0U);
    const int types[] = {VT_BSTR, VT_I4, VT_RECORD, VT_ARRAY | VT_BSTR, VT_DISPATCH, VT_RECORD};
    for (std::size_t i = 0; i < variables.size(); ++i) {
        EXPECT_EQ(variables[i].Get().vt, types[i]) << i;
    }
    EXPECT_EQ(*static_cast<GUID*>(variables[2].Get().pvRecord), kSampleGuid);
    variables.clear();
    EXPECT_EQ(probe.references, 1U);
}

TEST(Dispatch, DoesNotChangeVariablesWhenTheCallFails) {
    CProbe probe;
    Outputs out;
    const CBstr kept(NewBstr(u"kept"));
    out.text = kept.Get();
    EXPECT_EQ(Call(probe, kGive, out.References(E_FAIL)), DISP_E_EXCEPTION);
    EXPECT_TRUE(out.text == kept.Get() && out.number == 0 && out.list == nullptr);
    for (std::size_t i = 1; i < 7; ++i) {  // each output in turn is one that cannot be filled
        for (const VARTYPE wrong : {VARTYPE{VT_I8}, VARTYPE{VT_BYREF | VT_I8}}) {
            std::vector<VARIANT> arguments = out.References(S_OK);
            arguments[i].vt = wrong;
            UINT badArgument = 99;
            EXPECT_EQ(Call(probe, kGive, arguments, nullptr, &badArgument), DISP_E_TYPEMISMATCH);
            EXPECT_EQ(badArgument, 6 - i);
        }
    }
    EXPECT_EQ(probe.references, 0U);
}

TEST(Dispatch, TreatsAMissingDirectionAsInAndOut) {
    CProbe probe;
    probe.AddRef();
    IDispatch* self = &probe;  // the old value: released
    CVariant hr = Value(VT_I4);
    EXPECT_EQ(Call(probe, kGiveSelf, {hr.Get(), Reference(VT_DISPATCH, &self)}), S_OK);
    EXPECT_TRUE(self == &probe && probe.references == 1);
    hr.Get().lVal = S_FALSE;
    CVariant variable;
    const VARIANT variant = Reference(VT_VARIANT, &variable.Get());
    EXPECT_EQ(Call(probe, kGiveSelf, {hr.Get(), variant}), S_OK);
    EXPECT_TRUE(variable.Get().vt == VT_DISPATCH && variable.Get().pdispVal == nullptr);
    // A null reference is passed to the method.
    EXPECT_EQ(Call(probe, kGiveSelf, {hr.Get(), Reference(VT_DISPATCH, nullptr)}),
              DISP_E_EXCEPTION);
}

TEST(Dispatch, TakesRecordsGuidsAndReferences) {
    CProbe probe;
    const CBstr text(NewBstr(u"by pointer"));
    Pair pair = {text.Get(), 12};
    CVariant number = Value(u"30");
    VARIANT byReference = Reference(VT_BSTR, &number.Get().bstrVal);
    VARIANT recordByReference = Record(&pair);
    recordByReference.vt |= VT_BYREF;
    CVariant result;
    for (const VARIANT& form : {number.Get(), byReference, Reference(VT_VARIANT, &number.Get()),
                                Reference(VT_VARIANT, &byReference)}) {
        for (const VARIANT& record : {Record(&pair), recordByReference}) {
            ASSERT_EQ(Call(probe, kTake, {form, record, record}, result.Put()), S_OK);
            EXPECT_EQ(TextOf(result.Get().bstrVal), u"42/by pointer");
        }
    }
    EXPECT_EQ(Call(probe, kTake, {number.Get(), Record(&pair), Record(nullptr)}, result.Put()),
              S_OK);
    EXPECT_EQ(TextOf(result.Get().bstrVal), u"42/null");
    UINT badArgument = 99;
    EXPECT_EQ(
        Call(probe, kTake, {number.Get(), Record(nullptr), Record(&pair)}, nullptr, &badArgument),
        DISP_E_TYPEMISMATCH);
    EXPECT_EQ(badArgument, 1U);

    GUID guid = kSampleGuid;
    const std::u16string plain = automation::UuidToString(guid);
    const CVariant bare = Value(plain);
    const CVariant braced = Value(u"{" + plain + u"}");
    const CVariant broken = Value(u"{" + plain);
    for (const VARIANT& form : {Record(&guid), bare.Get(), braced.Get()}) {
        ASSERT_EQ(Call(probe, kTakeGuid, {form}, result.Put()), S_OK);
        EXPECT_EQ(*static_cast<GUID*>(result.Get().pvRecord), kSampleGuid);
    }
    // The result of a call is an argument of the next; a record of another type is not.
    EXPECT_EQ(Call(probe, kTakeGuid, {result.Get()}), S_OK);
    EXPECT_EQ(Call(probe, kTake, {number.Get(), result.Get(), result.Get()}), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(Call(probe, kTakeGuid, {broken.Get()}), DISP_E_TYPEMISMATCH);
}

TEST(Dispatch, DescribesRecords) {
    const CComPtr<IRecordInfo> info = automation::detail::NewRecordInfo(kPair);
    void* const record = info->RecordCreate();
    auto* const pair = static_cast<Pair*>(record);
    *pair = {NewBstr(u"kept"), 5};
    ULONG count = 9;
    BSTR names[9] = {};
    ASSERT_EQ(info->GetFieldNames(&count, names), S_OK);
    const CBstr first(names[0]);
    const CBstr second(names[1]);
    EXPECT_TRUE(count == 2 && TextOf(names[1]) == u"number");
    CVariant field;
    ASSERT_EQ(info->GetField(record, u"TEXT", field.Put()), S_OK);
    EXPECT_TRUE(TextOf(field.Get().bstrVal) == u"kept" && field.Get().bstrVal != pair->text);
    CVariant number = Value(u"42");
    constexpr ULONG kPut = DISPATCH_PROPERTYPUT;
    EXPECT_EQ(info->PutField(kPut, record, u"number", &number.Get()), S_OK);
    EXPECT_EQ(info->PutField(kPut, record, u"text", &number.Get()), S_OK);
    EXPECT_EQ(info->PutField(kPut, record, u"none", &number.Get()), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(info->PutField(DISPATCH_METHOD, record, u"text", &number.Get()), E_INVALIDARG);
    void* copy = nullptr;
    ASSERT_EQ(info->RecordCreateCopy(record, &copy), S_OK);
    EXPECT_EQ(info->PutFieldNoCopy(kPut, record, u"text", &field.Get()), S_OK);
    EXPECT_EQ(field.Get().vt, VT_EMPTY);  // moved to the record
    EXPECT_EQ(TextOf(static_cast<Pair*>(copy)->text), u"42");
    EXPECT_EQ(static_cast<Pair*>(copy)->number, 42);
    EXPECT_TRUE(info->RecordCopy(record, copy) == S_OK && info->RecordCopy(copy, copy) == S_OK);
    EXPECT_EQ(TextOf(static_cast<Pair*>(copy)->text), u"kept");
    EXPECT_TRUE(info->RecordDestroy(copy) == S_OK && info->RecordDestroy(record) == S_OK);
    GUID guid = kSampleGuid;
    const auto guidInfo = automation::detail::NewRecordInfo(automation::detail::GuidRecord());
    EXPECT_FALSE(info->IsMatchingType(guidInfo.Get()));
    ASSERT_EQ(guidInfo->GetField(&guid, u"Data3", field.Put()), S_OK);
    EXPECT_EQ(field.Get().uiVal, 0xcdef);
}

// A failure without error information does not report that of an earlier call.
TEST(Dispatch, ClearsTheErrorInformationBeforeTheCall) {
    CProbe probe;
    Outputs out;
    CComPtr<ICreateErrorInfo> maker;
    CComPtr<IErrorInfo> info;
    CreateErrorInfo(maker.Put());
    maker->QueryInterface(IID_IErrorInfo, info.PutVoid());
    SetErrorInfo(0, info.Get());
    EXPECT_EQ(Call(probe, kGive, out.References(E_NOTIMPL)), DISP_E_EXCEPTION);
    EXPECT_EQ(GetErrorInfo(0, info.Put()), S_FALSE);
}

}  // namespace
