// Strings, arrays, variants and error information. The sanitizers find leaks and double frees.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>

#include "automation/variant.h"
#include "frame/objects/boundary.h"
#include "support/automation_check.h"
#include "support/counted_object.h"

namespace {

using namespace automation;
using namespace std::literals;
using support::WholeText;

TEST(Bstr, KeepsTextCountAndTerminator) {
    for (const std::u16string& text : {u""s, u"a"s, u"\0a\0\xD800"s, std::u16string(1000, u'x')}) {
        const CBstr string(SysAllocStringLen(text.c_str(), static_cast<UINT>(text.size())));
        std::uint32_t count = 0;
        std::memcpy(&count, reinterpret_cast<const char*>(string.Get()) - 4, 4);
        EXPECT_TRUE(count == 2 * text.size() && SysStringByteLen(string.Get()) == count);
        EXPECT_TRUE(WholeText(string.Get()) == text && string.Get()[text.size()] == 0);
        EXPECT_EQ(TextOf(string.Get()), text.c_str());
        EXPECT_EQ(WholeText(CBstr(SysAllocString(text.c_str())).Get()), text.c_str());
    }
    EXPECT_TRUE(SysStringLen(nullptr) == 0 && SysStringByteLen(nullptr) == 0);
    EXPECT_TRUE(TextOf(nullptr).empty() && SysAllocString(nullptr) == nullptr);
    EXPECT_TRUE(CBstr(NewBstr({})));
    SysFreeString(nullptr);
    const CBstr uninitialised(SysAllocStringLen(nullptr, 3));
    EXPECT_TRUE(SysStringLen(uninitialised.Get()) == 3 && uninitialised.Get()[3] == 0);
    // The byte count of the whole block would not fit 32 bits.
    for (const UINT length : {0x7FFFFFFEU, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(SysAllocStringLen(nullptr, length), nullptr) << length;
    }
}

// Puts and gets twice at each index and next to the bounds; the first index varies fastest.
TEST(SafeArray, HoldsStringsAtItsIndices) {
    SAFEARRAYBOUND bounds[] = {{3, -1}, {2, 7}, {4, 0}};
    constexpr LONG kLast[] = {1, 8, 3};
    const CSafeArrayPtr array(SafeArrayCreate(VT_BSTR, 3, bounds));
    std::size_t count = 0;
    for (LONG i = 0; i < 2 * 5 * 4 * 6; ++i) {
        LONG indices[] = {i % 5 - 2, i / 5 % 4 + 6, i / 20 % 6 - 1};
        bool inside = true;
        for (UINT d = 0; d < 3; ++d) {
            LONG low = 99;
            LONG high = 99;
            ASSERT_EQ(SafeArrayGetLBound(array.Get(), d + 1, &low), S_OK);
            ASSERT_EQ(SafeArrayGetUBound(array.Get(), d + 1, &high), S_OK);
            ASSERT_TRUE(low == bounds[d].lLbound && high == kLast[d]);
            inside = inside && low <= indices[d] && indices[d] <= high;
        }
        const std::u16string text(static_cast<std::size_t>(i % 7), static_cast<char16_t>(i));
        const CBstr put(NewBstr(text));
        CBstr got;
        const HRESULT expected = inside ? S_OK : DISP_E_BADINDEX;
        ASSERT_EQ(SafeArrayPutElement(array.Get(), indices, put.Get()), expected);
        ASSERT_EQ(SafeArrayGetElement(array.Get(), indices, got.Put()), expected);
        if (inside) {
            const BSTR stored = static_cast<BSTR*>(array.Get()->pvData)[count++ % 24];
            ASSERT_TRUE(got.Get() != put.Get() && stored != put.Get());
            ASSERT_TRUE(WholeText(got.Get()) == text && WholeText(stored) == text);
        }
    }
    EXPECT_EQ(count, 48U);
}

TEST(SafeArray, DescribesItsElementsAndRefusesImpossibleArrays) {
    const struct {
        VARTYPE type;
        ULONG size;
        USHORT features;
    } rows[] = {
        {VT_BSTR, 8, FADF_BSTR | FADF_HAVEVARTYPE},
        {VT_UNKNOWN, 8, FADF_UNKNOWN | FADF_HAVEIID},
        {VT_VARIANT, 24, FADF_VARIANT | FADF_HAVEVARTYPE},
        {VT_DISPATCH, 8, FADF_DISPATCH | FADF_HAVEIID},
        {VT_UI1, 1, FADF_HAVEVARTYPE},
        {VT_BOOL, 2, FADF_HAVEVARTYPE},
        {VT_DATE, 8, FADF_HAVEVARTYPE},
    };
    for (const auto& row : rows) {
        const CSafeArrayPtr array(SafeArrayCreateVector(row.type, -1, 2));
        VARTYPE type = VT_EMPTY;
        EXPECT_EQ(SafeArrayGetVartype(array.Get(), &type), S_OK);
        EXPECT_TRUE(type == row.type && array.Get()->cbElements == row.size &&
                    array.Get()->fFeatures == row.features)
            << row.type;
    }
    for (const int type : {0, 1, int{VT_RECORD}, VT_BYREF | VT_I4, VT_ARRAY | VT_I4, 999}) {
        EXPECT_EQ(SafeArrayCreateVector(static_cast<VARTYPE>(type), -1, 2), nullptr) << type;
    }
    EXPECT_EQ(SafeArrayCreateVector(VT_I8, 0, 0x20000000), nullptr);
    EXPECT_EQ(SafeArrayCreateVector(VT_UI1, 0x7FFFFFFF, 2), nullptr);
    EXPECT_TRUE(CSafeArrayPtr(SafeArrayCreateVector(VT_UI1, 0x7FFFFFFF, 1)));
    SAFEARRAYBOUND bounds[3] = {{0x10000, 0}, {0x10000, 0}, {0x10000, 0}};
    EXPECT_EQ(SafeArrayCreate(VT_UI1, 3, bounds), nullptr);
    EXPECT_EQ(SafeArrayCreate(VT_UI1, 0, bounds), nullptr);
    EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
}

TEST(SafeArray, IsNotDestroyedWhileLocked) {
    CVariant variant;
    variant.Get().vt = VT_ARRAY | VT_I4;
    SAFEARRAY* array = variant.Get().parray = SafeArrayCreateVector(VT_I4, 0, 1);
    LONG bound = 7;
    EXPECT_EQ(SafeArrayGetLBound(array, 0, &bound), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayGetUBound(array, 2, &bound), DISP_E_BADINDEX);
    EXPECT_EQ(SafeArrayUnaccessData(array), E_UNEXPECTED);
    void* data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(array, &data), S_OK);
    EXPECT_EQ(VariantClear(&variant.Get()), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(variant.Get().parray, array);
    ASSERT_EQ(SafeArrayUnaccessData(array), S_OK);
    EXPECT_EQ(VariantClear(&variant.Get()), S_OK);
}

TEST(SafeArray, OwnsReferencesAndVariants) {
    support::CCountedObject objects[2];
    LONG index = 0;
    {
        const CSafeArrayPtr array(SafeArrayCreateVector(VT_UNKNOWN, 0, 2));
        for (support::CCountedObject& object : objects) {
            ASSERT_EQ(SafeArrayPutElement(array.Get(), &index, &object), S_OK);
        }
        CComPtr<IUnknown> got;
        ASSERT_EQ(SafeArrayGetElement(array.Get(), &index, got.PutVoid()), S_OK);
        EXPECT_TRUE(objects[0].References() == 0 && objects[1].References() == 2);
    }
    EXPECT_EQ(objects[1].References(), 0U);
    // A string in an array of variants in another one.
    CVariant value;
    value.Get().vt = VT_BSTR;
    value.Get().bstrVal = NewBstr(u"deep");
    for (int depth = 0; depth < 2; ++depth) {
        VARIANT outer = {};
        outer.vt = VT_ARRAY | VT_VARIANT;
        outer.parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
        ASSERT_EQ(SafeArrayPutElement(outer.parray, &index, &value.Get()), S_OK);
        value.Reset(outer);
    }
    CVariant inner, text;
    ASSERT_EQ(SafeArrayGetElement(value.Get().parray, &index, inner.Put()), S_OK);
    ASSERT_EQ(SafeArrayGetElement(inner.Get().parray, &index, text.Put()), S_OK);
    EXPECT_EQ(TextOf(text.Get().bstrVal), u"deep");
}

TEST(Variant, ClearFreesOwnedContentOnly) {
    support::CCountedObject object;
    object.AddRef();
    VARIANT variant = {};
    variant.vt = VT_UNKNOWN;
    variant.punkVal = &object;
    EXPECT_EQ(VariantClear(&variant), S_OK);
    EXPECT_TRUE(object.References() == 0 && variant.vt == VT_EMPTY);
    const CBstr text(NewBstr(u"kept"));
    BSTR reference = text.Get();
    variant.vt = VT_BYREF | VT_BSTR;
    variant.pbstrVal = &reference;
    EXPECT_EQ(VariantClear(&variant), S_OK);
    for (const int bad : {15, int{VT_VARIANT}, int{VT_VOID}, 99, 0x1000 | VT_I4, int{VT_BYREF}}) {
        variant.vt = static_cast<VARTYPE>(bad);
        EXPECT_EQ(VariantClear(&variant), DISP_E_BADVARTYPE) << bad;
    }
    EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
}

TEST(ErrorInfo, IsPerThreadAndReadOnce) {
    const auto report = [] {
        frame::ReportError({&IID_IOibIdxLib, nullptr}, support::Ole(u"x"), E_FAIL);
    };
    report();
    EXPECT_EQ(SetErrorInfo(1, nullptr), E_INVALIDARG);
    CComPtr<IErrorInfo> mine;
    std::thread([&] {
        EXPECT_EQ(GetErrorInfo(0, mine.Put()), S_FALSE);
        report();  // released at the end of the thread
    }).join();
    EXPECT_EQ(GetErrorInfo(0, mine.Put()), S_OK);
    CComPtr<IErrorInfo> none;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(GetErrorInfo(0, none.Put()), S_FALSE);
        SetErrorInfo(0, mine.Get());
        SetErrorInfo(0, nullptr);
    }
    CBstr text;
    EXPECT_TRUE(mine->GetHelpFile(text.Put()) == S_OK && !text);
    EXPECT_EQ(mine->GetGUID(nullptr), E_INVALIDARG);
    void* other = &other;
    EXPECT_TRUE(mine->QueryInterface(IID_IDispatch, &other) == E_NOINTERFACE && other == nullptr);
}

}  // namespace
