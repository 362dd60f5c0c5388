// Late-bound calls of an interface with each kind of parameter. The sanitizers find leaks.
#include "automation/dispatch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "ZorelText.h"
#include "automation/guid.h"
#include "automation/posix/automation_internal.h"
#include "automation/posix/record_info.h"
#include "automation/posix/variant_convert.h"
#include "frame/objects/boundary.h"
#include "support/automation_check.h"

namespace automation {
namespace {

using support::Bstr;

struct Pair {
    BSTR text;
    LONGLONG number;
};
constexpr GUID kSampleGuid = {0x01234567, 0x89ab, 0xcdef, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr FieldDesc kPairFields[] = {Field<BSTR>(u"text", offsetof(Pair, text)),
                                     Field<LONGLONG>(u"number", offsetof(Pair, number))};
constexpr RecordDesc kPair = {u"Pair", &kSampleGuid, sizeof(Pair), kPairFields};

// Methods with each kind of parameter.
class CProbe final : public IDispatch {
public:
    HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override { return --references; }
    HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    HRESULT Take(INT number, GUID guid, Pair byValue, Pair* byPointer, BSTR* seen) {
        *seen = NewBstr(zorel::ToUtf16(std::to_string(number + byValue.number) + "/") +
                        std::u16string(byPointer == nullptr ? u"null" : TextOf(byPointer->text)) +
                        u"/" + UuidToString(guid));
        return S_OK;
    }
    HRESULT Give(INT hr, BSTR* text, GUID* guid, SAFEARRAY** list, CProbe** self, Pair* pair) {
        *text = NewBstr(u"text");
        *guid = kSampleGuid;
        *list = SafeArrayCreateVector(VT_BSTR, 0, 1);
        static_cast<BSTR*>((*list)->pvData)[0] = NewBstr(u"name");
        *self = CComPtr(this).Detach();
        *pair = {NewBstr(u"pair"), 77};
        return hr;
    }
    HRESULT GiveSelf(INT hr, CProbe** self) {
        if (self == nullptr) {
            return E_INVALIDARG;
        }
        *self = hr == S_OK ? CComPtr(this).Detach() : nullptr;
        return hr;
    }
    HRESULT get_Total(ULONGLONG* total) {
        *total = std::numeric_limits<ULONGLONG>::max();
        return S_OK;
    }
    ULONG references = 0;
};

}  // namespace

template <>
struct RecordTraits<Pair> {
    static constexpr const RecordDesc& kDesc = kPair;
};
template <>
struct InterfaceTraits<CProbe> {
    static constexpr const IID& kIid = IID_IDispatch;
};

namespace {

enum EProbeId : DISPID { kTake = 0x60020000, kGive, kGiveSelf, kTotal };

constexpr auto kProbeMethods =
    Methods(kTake,
            Method<&CProbe::Take>(u"Take", In(u"number"), In(u"guid"), Unspecified(u"byValue"),
                                  In(u"byPointer"), Retval(u"seen")),
            Method<&CProbe::Give>(u"Give", In(u"hr"), Out(u"text"), Out(u"guid"), Out(u"list"),
                                  Out(u"self"), Out(u"pair")),
            Method<&CProbe::GiveSelf>(u"GiveSelf", In(u"hr"), Unspecified(u"self")),
            PropertyGet<&CProbe::get_Total>(u"Total", Retval(u"total")));
constexpr InterfaceTable kTable = {u"IProbe", &IID_IDispatch, nullptr, 1, kProbeMethods};

// A variant that owns nothing; the content is a number or an address.
template <class T>
VARIANT Raw(int type, T content) {
    VARIANT value = {};
    value.vt = static_cast<VARTYPE>(type);
    std::memcpy(&value.llVal, &content, sizeof content);
    return value;
}
template <class T>
VARIANT Reference(int type, T* target) {
    return Raw(VT_BYREF | type, target);
}

// `arguments` in declaration order, the last of them with the numbers `named`.
HRESULT Call(CProbe& probe, DISPID id, const std::vector<VARIANT>& arguments,
             VARIANT* result = nullptr, UINT* badArgument = nullptr, std::vector<DISPID> named = {},
             WORD flags = DISPATCH_METHOD | DISPATCH_PROPERTYGET) {
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    DISPPARAMS params = {reversed.data(), named.data(), static_cast<UINT>(reversed.size()),
                         static_cast<UINT>(named.size())};
    return DispatchInvoke(kTable, &probe, id, IID_NULL, 0, flags, &params, result, nullptr,
                          badArgument);
}

TEST(Dispatch, FindsNamesWithoutRegardToCase) {
    const struct {
        std::vector<const char16_t*> names;
        HRESULT hr;
        std::vector<DISPID> ids;
    } rows[] = {
        {{u"tAKE", u"NUMBER", u"seen"}, S_OK, {kTake, 0, 4}},
        {{u"total"}, S_OK, {kTotal}},
        {{u"get_Total"}, DISP_E_UNKNOWNNAME, {-1}},
        {{u"Tak"}, DISP_E_UNKNOWNNAME, {-1}},
        {{u"Take", u"flag", u"seen"}, DISP_E_UNKNOWNNAME, {kTake, -1, 4}},
        {{u"None", u"number"}, DISP_E_UNKNOWNNAME, {-1, -1}},
    };
    for (const auto& row : rows) {
        std::vector<DISPID> ids(row.names.size());
        auto* const names = const_cast<LPOLESTR*>(row.names.data());
        const auto count = static_cast<UINT>(ids.size());
        EXPECT_EQ(DispatchGetIDsOfNames(kTable, IID_NULL, names, count, 0, ids.data()), row.hr);
        EXPECT_EQ(ids, row.ids);
        EXPECT_EQ(DispatchGetIDsOfNames(kTable, IID_IUnknown, names, count, 0, ids.data()),
                  DISP_E_UNKNOWNINTERFACE);
    }
}

// The value of "TYPE CONTENT": a VARTYPE with a text, a real number or an integer.
VARIANT ParseValue(const std::string& cell) {
    const int type = std::stoi(cell);
    const std::string content = cell.substr(cell.find(' ') + 1);
    const bool isReal = type == VT_R8 || type == VT_DATE;
    return type == VT_BSTR ? Raw(type, NewBstr(zorel::ToUtf16(content)))
           : type == VT_R4 ? Raw(type, std::stof(content))
           : isReal        ? Raw(type, std::stod(content))
                           : Raw(type, std::stoll(content));
}

// The result of a conversion as text, or its failure.
std::string Convert(const VARIANT& source, VARTYPE type) {
    CVariant result;
    CVariant text;
    const HRESULT hr = detail::ConvertVariant(source, type, result);
    EXPECT_EQ(result.Get().vt, FAILED(hr) ? VARTYPE{VT_EMPTY} : type);
    if (FAILED(hr)) {
        return hr == DISP_E_OVERFLOW ? "overflow" : hr == DISP_E_TYPEMISMATCH ? "mismatch" : "bad";
    }
    EXPECT_EQ(detail::ConvertVariant(result.Get(), VT_BSTR, text), S_OK);
    return zorel::ToUtf8(TextOf(text.Get().bstrVal));
}

// Each line of the table is a value and its conversions.
TEST(Dispatch, ConvertsValues) {
    std::ifstream table(ZOREL_SOURCE_DIR "/tests/data/variant_conversions.txt");
    int count = 0;
    for (std::string expected; std::getline(table, expected); ++count) {
        std::string line = expected.substr(0, expected.find(" | "));
        const VARIANT source = ParseValue(line);
        const CBstr owned(source.vt == VT_BSTR ? source.bstrVal : nullptr);
        for (const VARTYPE type :
             {VT_BSTR, VT_UI2, VT_I4, VT_UI4, VT_I8, VT_UI8, VT_BOOL, VT_DATE}) {
            line += " | " + Convert(source, type);
        }
        EXPECT_EQ(line, expected);
    }
    EXPECT_GT(count, 70);
    EXPECT_EQ(Convert(Raw(VT_BSTR, BSTR{}), VT_I4), "mismatch");
}

TEST(Dispatch, RefusesCallsOfTheWrongShape) {
    CProbe probe;
    const VARIANT one = Raw(VT_I4, 0);
    const VARIANT missing = Raw(VT_ERROR, DISP_E_PARAMNOTFOUND);
    CComPtr<IDispatch> received;
    const VARIANT self = Reference(VT_DISPATCH, received.Put());
    ULONGLONG total = 0;
    VARIANT null = {};
    const struct {
        HRESULT hr;
        DISPID id;
        std::vector<VARIANT> arguments;
        WORD flags = DISPATCH_METHOD;
        std::vector<DISPID> named = {};
    } rows[] = {
        {DISP_E_MEMBERNOTFOUND, 1, {}},
        {DISP_E_MEMBERNOTFOUND, kTake, {one}, DISPATCH_PROPERTYGET},
        {DISP_E_MEMBERNOTFOUND, kTotal, {}},
        {S_OK, kTotal, {}, DISPATCH_METHOD | DISPATCH_PROPERTYGET},
        {S_OK, kTotal, {Reference(VT_UI8, &total)}, DISPATCH_PROPERTYGET},
        {DISP_E_BADPARAMCOUNT, kTotal, {one}, DISPATCH_PROPERTYGET},
        {DISP_E_BADPARAMCOUNT, kGiveSelf, {one}},
        {DISP_E_BADPARAMCOUNT, kGiveSelf, {one, self, one}},
        {S_OK, kGiveSelf, {self, one}, DISPATCH_METHOD, {0, 1}},
        // Without a direction: the old object is released, a null reference reaches the method.
        {S_OK, kGiveSelf, {one, self}},
        {S_OK, kGiveSelf, {Raw(VT_I4, S_FALSE), Reference(VT_VARIANT, &null)}},
        {DISP_E_EXCEPTION, kGiveSelf, {one, Reference<void>(VT_DISPATCH, nullptr)}},
        {DISP_E_PARAMNOTFOUND, kGiveSelf, {one, self}, DISPATCH_METHOD, {2}},
        {DISP_E_PARAMNOTFOUND, kGiveSelf, {one, self}, DISPATCH_METHOD, {DISPID_PROPERTYPUT}},
        {DISP_E_PARAMNOTFOUND, kGiveSelf, {one, self}, DISPATCH_METHOD, {0}},
        {DISP_E_PARAMNOTOPTIONAL, kGiveSelf, {missing, self}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Call(probe, row.id, row.arguments, nullptr, nullptr, row.named, row.flags),
                  row.hr)
            << &row - rows;
    }
    EXPECT_EQ(total, std::numeric_limits<ULONGLONG>::max());
    EXPECT_TRUE(null.vt == VT_DISPATCH && null.pdispVal == nullptr);
    EXPECT_TRUE(received.Get() == &probe && probe.references == 1);
    DISPPARAMS params = {nullptr, nullptr, 1, 0};
    for (const auto& [reserved, hr] :
         {std::pair(IID_NULL, E_INVALIDARG), std::pair(IID_IUnknown, DISP_E_UNKNOWNINTERFACE)}) {
        for (DISPPARAMS* const bad : {&params, static_cast<DISPPARAMS*>(nullptr)}) {
            EXPECT_EQ(DispatchInvoke(kTable, &probe, kTotal, reserved, 0, 3, bad, {}, {}, {}), hr);
        }
    }
}

// Variables of the types that Give fills.
struct Outputs {
    BSTR text = nullptr;
    GUID guid = {};
    SAFEARRAY* list = nullptr;
    IDispatch* self = nullptr;
    Pair pair = {};

    std::vector<VARIANT> References(HRESULT hr) {
        return {Raw(VT_I4, hr),
                Reference(VT_BSTR, &text),
                Reference(VT_RECORD, &guid),
                Reference(VT_ARRAY | VT_BSTR, &list),
                Reference(VT_DISPATCH, &self),
                Reference(VT_RECORD, &pair)};
    }
};

TEST(Dispatch, FillsTypedVariablesAndClearedVariants) {
    CProbe probe;
    Outputs out;
    out.text = reinterpret_cast<BSTR>(&out.guid);  // not a string: an output is not freed
    CVariant self;                                 // its old content is released
    self.Reset(Raw(VT_UNKNOWN, CComPtr<IDispatch>(&probe).Detach()));
    std::vector<VARIANT> arguments = out.References(S_OK);
    arguments[4] = Reference(VT_VARIANT, &self.Get());
    ASSERT_EQ(Call(probe, kGive, arguments), S_OK);
    const CBstr text(out.text);
    const CSafeArrayPtr list(out.list);
    const CBstr pairText(out.pair.text);
    EXPECT_TRUE(TextOf(out.text) == u"text" && out.guid == kSampleGuid);
    EXPECT_EQ(TextOf(static_cast<BSTR*>(out.list->pvData)[0]), u"name");
    EXPECT_TRUE(TextOf(out.pair.text) == u"pair" && out.pair.number == 77);
    EXPECT_TRUE(self.Get().vt == VT_DISPATCH && self.Get().pdispVal == &probe);
    EXPECT_EQ(probe.references, 1U);
}

// It clears the error information of earlier calls, too.
TEST(Dispatch, DoesNotChangeVariablesWhenTheCallFails) {
    CProbe probe;
    Outputs out;
    const CBstr kept = Bstr(u"kept");
    out.text = kept.Get();
    frame::ReportError({&IID_IOibIdxLib, nullptr}, support::Ole(u"of an earlier call"), E_FAIL);
    EXPECT_EQ(Call(probe, kGive, out.References(E_FAIL)), DISP_E_EXCEPTION);
    EXPECT_EQ(support::TakeError().guid, GUID_NULL);
    EXPECT_TRUE(out.text == kept.Get() && out.pair.number == 0 && out.list == nullptr);
    for (std::size_t i = 1; i < 6; ++i) {  // each output in turn is one that cannot be filled
        for (const VARTYPE wrong : {VARTYPE{VT_I8}, VARTYPE{VT_BYREF | VT_I8}}) {
            std::vector<VARIANT> arguments = out.References(S_OK);
            arguments[i].vt = wrong;
            UINT badArgument = 99;
            EXPECT_EQ(Call(probe, kGive, arguments, nullptr, &badArgument), DISP_E_TYPEMISMATCH);
            EXPECT_EQ(badArgument, 5 - i);
        }
    }
    EXPECT_EQ(probe.references, 0U);
}

TEST(Dispatch, TakesRecordsGuidsAndReferences) {
    CProbe probe;
    const CBstr text = Bstr(u"by pointer");
    Pair pair = {text.Get(), 12};
    const CBstr digits = Bstr(u"30");
    VARIANT number = Raw(VT_BSTR, digits.Get());
    VARIANT byReference = Reference(VT_BSTR, &number.bstrVal);
    const VARIANT byValue = Raw(VT_RECORD, &pair);
    const VARIANT null = Raw<void*>(VT_RECORD, nullptr);
    GUID guid = kSampleGuid;
    const std::u16string plain = UuidToString(guid);
    const CBstr texts[] = {Bstr(plain), Bstr(u"{" + plain + u"}"), Bstr(u"{" + plain)};
    const VARIANT guidRecord = Raw(VT_RECORD, &guid);
    const CComPtr<IRecordInfo> guidInfo = detail::NewRecordInfo(detail::GuidRecord());
    VARIANT described = guidRecord;
    described.pRecInfo = guidInfo.Get();
    const VARIANT ids[] = {guidRecord, described, Raw(VT_BSTR, texts[0].Get()),
                           Raw(VT_BSTR, texts[1].Get())};
    CVariant result;
    for (const VARIANT& form : {number, byReference, Reference(VT_VARIANT, &number),
                                Reference(VT_VARIANT, &byReference)}) {
        for (const VARIANT& id : ids) {
            for (const VARIANT& record : {byValue, Reference(VT_RECORD, &pair)}) {
                ASSERT_EQ(Call(probe, kTake, {form, id, record, record}, result.Put()), S_OK);
                EXPECT_EQ(TextOf(result.Get().bstrVal), u"42/by pointer/" + plain);
            }
        }
    }
    EXPECT_EQ(Call(probe, kTake, {number, guidRecord, byValue, null}, result.Put()), S_OK);
    EXPECT_EQ(TextOf(result.Get().bstrVal), u"42/null/" + plain);
    const VARIANT broken = Raw(VT_BSTR, texts[2].Get());
    const std::vector<VARIANT> refused[] = {{number, guidRecord, byValue, described},
                                            {number, guidRecord, null, byValue},
                                            {number, broken, byValue, byValue}};
    for (const auto& arguments : refused) {
        UINT badArgument = 99;
        EXPECT_EQ(Call(probe, kTake, arguments, nullptr, &badArgument), DISP_E_TYPEMISMATCH);
        EXPECT_EQ(badArgument, &arguments - refused);
    }
}

TEST(Dispatch, DescribesRecords) {
    const CComPtr<IRecordInfo> info = detail::NewRecordInfo(kPair);
    auto* const pair = static_cast<Pair*>(info->RecordCreate());
    CComPtr<IUnknown> same;
    EXPECT_EQ(info->QueryInterface(IID_IUnknown, same.PutVoid()), S_OK);
    VARIANT described = Raw(VT_RECORD, pair);
    described.pRecInfo = info.Get();
    {
        CVariant counted;
        EXPECT_EQ(detail::CopyVariant(counted.Get(), described), S_OK);
        EXPECT_TRUE(info->AddRef() == 4 && info->Release() == 3);
    }
    EXPECT_TRUE(info->AddRef() == 3 && info->Release() == 2);
    *pair = {NewBstr(u"kept"), 5};
    ULONG count = 9;
    BSTR names[9] = {};
    ASSERT_EQ(info->GetFieldNames(&count, names), S_OK);
    const CBstr first(names[0]);
    const CBstr second(names[1]);
    EXPECT_TRUE(count == 2 && TextOf(names[1]) == u"number");
    CVariant field;
    ASSERT_EQ(info->GetField(pair, u"TEXT", field.Put()), S_OK);
    EXPECT_TRUE(TextOf(field.Get().bstrVal) == u"kept" && field.Get().bstrVal != pair->text);
    const CBstr digits = Bstr(u"42");
    VARIANT number = Raw(VT_BSTR, digits.Get());
    constexpr ULONG kPut = DISPATCH_PROPERTYPUT;
    EXPECT_EQ(info->PutField(kPut, pair, u"number", &number), S_OK);
    EXPECT_EQ(info->PutField(kPut, pair, u"text", &number), S_OK);
    EXPECT_EQ(info->PutField(kPut, pair, u"none", &number), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(info->PutField(DISPATCH_METHOD, pair, u"text", &number), E_INVALIDARG);
    void* copy = nullptr;
    ASSERT_EQ(info->RecordCreateCopy(pair, &copy), S_OK);
    EXPECT_EQ(info->PutFieldNoCopy(kPut, pair, u"text", &field.Get()), S_OK);
    EXPECT_EQ(field.Get().vt, VT_EMPTY);  // moved to the record
    const auto* const copied = static_cast<Pair*>(copy);
    EXPECT_TRUE(TextOf(copied->text) == u"42" && copied->number == 42);
    EXPECT_TRUE(info->RecordCopy(pair, copy) == S_OK && info->RecordCopy(copy, copy) == S_OK);
    EXPECT_EQ(TextOf(copied->text), u"kept");
    EXPECT_TRUE(info->RecordDestroy(copy) == S_OK && info->RecordDestroy(pair) == S_OK);
    GUID guid = kSampleGuid;
    const auto guidInfo = detail::NewRecordInfo(detail::GuidRecord());
    EXPECT_FALSE(info->IsMatchingType(guidInfo.Get()));
    ASSERT_EQ(guidInfo->GetField(&guid, u"Data3", field.Put()), S_OK);
    EXPECT_EQ(field.Get().uiVal, 0xcdef);
}

}  // namespace
}  // namespace automation
