// The automation calls of the port: what clients of OLE Automation rely on. Leaks and
// double frees are the sanitizers' to find.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "automation/variant.h"
#include "support/counted_object.h"

namespace {

using automation::CBstr;
using automation::CComPtr;
using automation::CSafeArrayPtr;
using automation::CVariant;
using automation::NewBstr;
using automation::TextOf;

const OLECHAR* Units(const std::u16string& text) {
    return reinterpret_cast<const OLECHAR*>(text.c_str());
}

// All code units, NULs included.
std::u16string WholeText(BSTR text) {
    return {reinterpret_cast<const char16_t*>(text), SysStringLen(text)};
}

std::u16string RandomText(std::mt19937& random) {
    std::u16string text(random() % 20, u'\0');
    for (char16_t& unit : text) {
        unit = static_cast<char16_t>(random() % 4 == 0 ? 0 : random());
    }
    return text;
}

TEST(Bstr, KeepsTextCountAndTerminator) {
    std::mt19937 random(1);
    for (int i = 0; i < 500; ++i) {
        const std::u16string text = RandomText(random);
        const CBstr string(SysAllocStringLen(Units(text), static_cast<UINT>(text.size())));
        ASSERT_EQ(WholeText(string.Get()), text);
        ASSERT_EQ(string.Get()[text.size()], 0);
        std::uint32_t count = 0;
        std::memcpy(&count, reinterpret_cast<const char*>(string.Get()) - 4, 4);
        ASSERT_EQ(count, 2 * text.size());
        ASSERT_EQ(SysStringByteLen(string.Get()), count);
        ASSERT_EQ(TextOf(string.Get()), text.c_str());
        const CBstr cut(SysAllocString(Units(text)));
        ASSERT_EQ(WholeText(cut.Get()), text.c_str());
        ASSERT_EQ(WholeText(CBstr(NewBstr(text)).Get()), text);
    }
}

TEST(Bstr, NullIsEmptyEverywhereAndNotMadeOfNothing) {
    EXPECT_EQ(SysStringLen(nullptr), 0U);
    EXPECT_EQ(SysStringByteLen(nullptr), 0U);
    EXPECT_EQ(TextOf(nullptr), u"");
    SysFreeString(nullptr);
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    const CBstr unset(SysAllocStringLen(nullptr, 3));
    EXPECT_EQ(SysStringLen(unset.Get()), 3U);
    EXPECT_EQ(unset.Get()[3], 0);
    const CBstr empty(NewBstr({}));
    EXPECT_TRUE(empty);
    // The byte count of the whole block would not fit 32 bits.
    for (const UINT length : {0x7FFFFFFEU, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(SysAllocStringLen(nullptr, length), nullptr) << length;
    }
}

// Puts and gets at random places, against a plain list of strings.
void CompareStringArrayWithModel(std::mt19937& random) {
    const auto dimensions = static_cast<UINT>(1 + random() % 3);
    std::vector<SAFEARRAYBOUND> bounds(dimensions);
    std::size_t total = 1;
    for (SAFEARRAYBOUND& bound : bounds) {
        bound = {static_cast<ULONG>(random() % 5), static_cast<LONG>(random() % 7) - 3};
        total *= bound.cElements;
    }
    const CSafeArrayPtr array(SafeArrayCreate(VT_BSTR, dimensions, bounds.data()));
    ASSERT_TRUE(array);
    ASSERT_EQ(SafeArrayGetDim(array.Get()), dimensions);
    for (UINT d = 0; d < dimensions; ++d) {
        LONG lower = 99;
        LONG upper = 99;
        ASSERT_EQ(SafeArrayGetLBound(array.Get(), d + 1, &lower), S_OK);
        ASSERT_EQ(SafeArrayGetUBound(array.Get(), d + 1, &upper), S_OK);
        ASSERT_EQ(lower, bounds[d].lLbound);
        ASSERT_EQ(upper, bounds[d].lLbound + static_cast<LONG>(bounds[d].cElements) - 1);
    }
    std::vector<std::u16string> model(total);
    for (int step = 0; step < 60; ++step) {
        std::vector<LONG> indices(dimensions);
        std::size_t position = 0;
        std::size_t stride = 1;
        bool inside = true;
        for (UINT d = 0; d < dimensions; ++d) {
            // One place beyond either end comes up, too.
            const LONG offset = static_cast<LONG>(random() % (bounds[d].cElements + 2)) - 1;
            inside = inside && offset >= 0 && offset < static_cast<LONG>(bounds[d].cElements);
            indices[d] = bounds[d].lLbound + offset;
            position += static_cast<std::size_t>(offset) * stride;
            stride *= bounds[d].cElements;
        }
        const std::u16string text = RandomText(random);
        const CBstr put(NewBstr(text));
        ASSERT_EQ(SafeArrayPutElement(array.Get(), indices.data(), put.Get()),
                  inside ? S_OK : DISP_E_BADINDEX);
        CBstr got;
        ASSERT_EQ(SafeArrayGetElement(array.Get(), indices.data(), got.Put()),
                  inside ? S_OK : DISP_E_BADINDEX);
        if (inside) {
            ASSERT_NE(got.Get(), put.Get());
            ASSERT_EQ(WholeText(got.Get()), text);
            model[position] = text;
        }
    }
    void* data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(array.Get(), &data), S_OK);
    for (std::size_t i = 0; i < total; ++i) {
        ASSERT_EQ(WholeText(static_cast<BSTR*>(data)[i]), model[i]);
    }
    ASSERT_EQ(SafeArrayUnaccessData(array.Get()), S_OK);
}

TEST(SafeArray, HoldsStringsLikeAPlainList) {
    std::mt19937 random(2);
    for (int i = 0; i < 200 && !testing::Test::HasFatalFailure(); ++i) {
        CompareStringArrayWithModel(random);
    }
}

TEST(SafeArray, DescribesItsElements) {
    const struct {
        VARTYPE type;
        ULONG size;  // 0: no such array
        USHORT features;
    } rows[] = {
        {VT_BSTR, 8, FADF_BSTR | FADF_HAVEVARTYPE},
        {VT_VARIANT, 24, FADF_VARIANT | FADF_HAVEVARTYPE},
        {VT_UNKNOWN, 8, FADF_UNKNOWN | FADF_HAVEIID},
        {VT_DISPATCH, 8, FADF_DISPATCH | FADF_HAVEIID},
        {VT_UI1, 1, FADF_HAVEVARTYPE},
        {VT_BOOL, 2, FADF_HAVEVARTYPE},
        {VT_I4, 4, FADF_HAVEVARTYPE},
        {VT_DATE, 8, FADF_HAVEVARTYPE},
        {VT_UI8, 8, FADF_HAVEVARTYPE},
        {VT_EMPTY, 0, 0},
        {VT_NULL, 0, 0},
        {VT_RECORD, 0, 0},
        {VT_BYREF | VT_I4, 0, 0},
        {VT_ARRAY | VT_I4, 0, 0},
        {999, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        const CSafeArrayPtr array(SafeArrayCreateVector(row.type, -1, 2));
        ASSERT_EQ(static_cast<bool>(array), row.size != 0);
        if (array) {
            EXPECT_EQ(array.Get()->cbElements, row.size);
            EXPECT_EQ(array.Get()->fFeatures, row.features);
            VARTYPE type = VT_EMPTY;
            EXPECT_EQ(SafeArrayGetVartype(array.Get(), &type), S_OK);
            EXPECT_EQ(type, row.type);
        }
    }
}

TEST(SafeArray, RefusesWhatCannotBe) {
    constexpr ULONG kMost = std::numeric_limits<ULONG>::max();
    EXPECT_EQ(SafeArrayCreateVector(VT_BSTR, 0, kMost), nullptr);
    EXPECT_EQ(SafeArrayCreateVector(VT_I8, 0, 0x20000000), nullptr);
    EXPECT_EQ(SafeArrayCreateVector(VT_UI1, std::numeric_limits<LONG>::max(), 2), nullptr);
    SAFEARRAYBOUND bounds[3] = {{0x10000, 0}, {0x10000, 0}, {0x10000, 0}};
    EXPECT_EQ(SafeArrayCreate(VT_UI1, 3, bounds), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_UI1, 0, bounds), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_UI1, 1, nullptr), nullptr);
    EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);

    const CSafeArrayPtr array(SafeArrayCreateVector(VT_I4, 0, 1));
    LONG bound = 7;
    EXPECT_EQ(SafeArrayGetLBound(array.Get(), 0, &bound), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayGetUBound(array.Get(), 2, &bound), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayGetUBound(nullptr, 1, &bound), E_INVALIDARG);
    EXPECT_EQ(SafeArrayUnaccessData(array.Get()), E_UNEXPECTED);
    EXPECT_EQ(bound, 7);
}

TEST(SafeArray, IsNotDestroyedWhileItIsRead) {
    CVariant variant;
    SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 0, 1);
    variant.Get().vt = VT_ARRAY | VT_I4;
    variant.Get().parray = array;
    void* data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(array, &data), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(VariantClear(&variant.Get()), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(variant.Get().parray, array);
    ASSERT_EQ(SafeArrayUnaccessData(array), S_OK);
    EXPECT_EQ(VariantClear(&variant.Get()), S_OK);
    EXPECT_EQ(variant.Get().vt, VT_EMPTY);
}

TEST(SafeArray, OwnsReferencesAndVariants) {
    support::CCountedObject first;
    support::CCountedObject second;
    LONG index = 0;
    {
        const CSafeArrayPtr array(SafeArrayCreateVector(VT_UNKNOWN, 0, 2));
        ASSERT_EQ(SafeArrayPutElement(array.Get(), &index, &first), S_OK);
        ASSERT_EQ(SafeArrayPutElement(array.Get(), &index, &second), S_OK);
        EXPECT_EQ(first.References(), 0U);
        EXPECT_EQ(second.References(), 1U);
        CComPtr<IUnknown> got;
        ASSERT_EQ(SafeArrayGetElement(array.Get(), &index, got.PutVoid()), S_OK);
        EXPECT_EQ(second.References(), 2U);
        ASSERT_EQ(SafeArrayPutElement(array.Get(), &index, nullptr), S_OK);
        EXPECT_EQ(second.References(), 1U);
        ASSERT_EQ(SafeArrayPutElement(array.Get(), &index, &first), S_OK);
    }
    EXPECT_EQ(first.References(), 0U);
    // An array of variants that hold an array of variants that hold a string.
    const CSafeArrayPtr outer(SafeArrayCreateVector(VT_VARIANT, 0, 1));
    CVariant inner;
    inner.Get().vt = VT_ARRAY | VT_VARIANT;
    inner.Get().parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    CVariant text;
    text.Get().vt = VT_BSTR;
    text.Get().bstrVal = NewBstr(u"deep");
    ASSERT_EQ(SafeArrayPutElement(inner.Get().parray, &index, &text.Get()), S_OK);
    ASSERT_EQ(SafeArrayPutElement(outer.Get(), &index, &inner.Get()), S_OK);
    inner.Reset({});
    ASSERT_EQ(SafeArrayGetElement(outer.Get(), &index, inner.Put()), S_OK);
    ASSERT_EQ(SafeArrayGetElement(inner.Get().parray, &index, text.Put()), S_OK);
    EXPECT_EQ(TextOf(text.Get().bstrVal), u"deep");
}

TEST(Variant, ClearFreesWhatItOwnsOnly) {
    support::CCountedObject object;
    const CBstr text(NewBstr(u"kept"));
    BSTR reference = text.Get();
    VARIANT variant = {};
    object.AddRef();
    variant.vt = VT_UNKNOWN;
    variant.punkVal = &object;
    EXPECT_EQ(VariantClear(&variant), S_OK);
    EXPECT_EQ(object.References(), 0U);
    EXPECT_EQ(variant.vt, VT_EMPTY);
    variant.vt = VT_BYREF | VT_BSTR;
    variant.pbstrVal = &reference;
    EXPECT_EQ(VariantClear(&variant), S_OK);
    EXPECT_EQ(TextOf(text.Get()), u"kept");
    const CSafeArrayPtr array(SafeArrayCreateVector(VT_I4, 0, 1));
    variant.vt = VT_BYREF | VT_ARRAY | VT_I4;
    variant.parray = array.Get();
    EXPECT_EQ(VariantClear(&variant), S_OK);
    for (const VARTYPE bad : {VARTYPE{15}, VARTYPE{VT_VARIANT}, VARTYPE{VT_VOID}, VARTYPE{99},
                              VARTYPE{0x1000 | VT_I4}, VARTYPE{VT_BYREF}}) {
        variant.vt = bad;
        EXPECT_EQ(VariantClear(&variant), DISP_E_BADVARTYPE) << bad;
        EXPECT_EQ(variant.vt, bad);
    }
    EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
}

CComPtr<IErrorInfo> NewErrorInfo(const std::u16string& description) {
    CComPtr<ICreateErrorInfo> maker;
    EXPECT_EQ(CreateErrorInfo(maker.Put()), S_OK);
    EXPECT_EQ(maker->SetDescription(const_cast<LPOLESTR>(Units(description))), S_OK);
    EXPECT_EQ(maker->SetGUID(IID_IEnumString), S_OK);
    EXPECT_EQ(maker->SetHelpContext(7), S_OK);
    CComPtr<IErrorInfo> info;
    EXPECT_EQ(maker->QueryInterface(IID_IErrorInfo, info.PutVoid()), S_OK);
    return info;
}

TEST(ErrorInfo, GivesBackWhatWasSetAndNullForTheRest) {
    const CComPtr<IErrorInfo> info = NewErrorInfo(u"what happened");
    CBstr text;
    EXPECT_EQ(info->GetDescription(text.Put()), S_OK);
    EXPECT_EQ(TextOf(text.Get()), u"what happened");
    EXPECT_EQ(info->GetSource(text.Put()), S_OK);
    EXPECT_FALSE(text);
    EXPECT_EQ(info->GetHelpFile(text.Put()), S_OK);
    EXPECT_FALSE(text);
    GUID guid = {};
    DWORD context = 0;
    EXPECT_EQ(info->GetGUID(&guid), S_OK);
    EXPECT_EQ(info->GetHelpContext(&context), S_OK);
    EXPECT_EQ(guid, IID_IEnumString);
    EXPECT_EQ(context, 7U);
    void* other = &context;
    EXPECT_EQ(info->QueryInterface(IID_IDispatch, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
}

TEST(ErrorInfo, IsHeldForEachThreadAndReadOnce) {
    const CComPtr<IErrorInfo> mine = NewErrorInfo(u"mine");
    ASSERT_EQ(SetErrorInfo(0, mine.Get()), S_OK);
    EXPECT_EQ(SetErrorInfo(1, nullptr), E_INVALIDARG);
    std::thread([] {
        CComPtr<IErrorInfo> theirs;
        EXPECT_EQ(GetErrorInfo(0, theirs.Put()), S_FALSE);
        // Given back when the thread ends: the leak check looks for it.
        SetErrorInfo(0, NewErrorInfo(u"left behind").Get());
    }).join();
    CComPtr<IErrorInfo> got;
    EXPECT_EQ(GetErrorInfo(0, got.Put()), S_OK);
    EXPECT_EQ(got.Get(), mine.Get());
    EXPECT_EQ(GetErrorInfo(0, got.Put()), S_FALSE);
    EXPECT_FALSE(got);
    SetErrorInfo(0, mine.Get());
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(GetErrorInfo(0, got.Put()), S_FALSE);
}

TEST(VariantTime, PassesEveryField) {
    SYSTEMTIME time = {2024, 2, 0, 29, 23, 58, 57, 0};
    double date = 0;
    ASSERT_EQ(SystemTimeToVariantTime(&time, &date), 1);
    SYSTEMTIME back = {};
    ASSERT_EQ(VariantTimeToSystemTime(date, &back), 1);
    time.wDayOfWeek = 4;
    EXPECT_EQ(std::memcmp(&time, &back, sizeof(time)), 0);
    time.wMonth = 13;
    EXPECT_EQ(SystemTimeToVariantTime(&time, &date), 0);
    EXPECT_EQ(SystemTimeToVariantTime(nullptr, &date), 0);
    EXPECT_EQ(VariantTimeToSystemTime(1e9, &back), 0);
    EXPECT_EQ(VariantTimeToSystemTime(1, nullptr), 0);
}

}  // namespace
