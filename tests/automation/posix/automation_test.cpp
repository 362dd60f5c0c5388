// Strings, arrays, variants and error information. The sanitizers find leaks and double frees.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "automation/variant.h"
#include "support/automation_check.h"
#include "support/counted_object.h"

namespace {

using namespace automation;
using support::WholeText;

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
        const CBstr string(SysAllocStringLen(text.c_str(), static_cast<UINT>(text.size())));
        std::uint32_t count = 0;
        std::memcpy(&count, reinterpret_cast<const char*>(string.Get()) - 4, 4);
        ASSERT_TRUE(count == 2 * text.size() && SysStringByteLen(string.Get()) == count);
        ASSERT_EQ(WholeText(string.Get()), text);
        ASSERT_EQ(string.Get()[text.size()], 0);
        ASSERT_EQ(TextOf(string.Get()), text.c_str());
        ASSERT_EQ(WholeText(CBstr(SysAllocString(text.c_str())).Get()), text.c_str());
        ASSERT_EQ(WholeText(CBstr(NewBstr(text)).Get()), text);
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

// Puts and gets at random indices, compared with a plain list of strings.
void CompareStringArrayWithModel(std::mt19937& random) {
    const auto dimensions = static_cast<UINT>(1 + random() % 3);
    std::vector<SAFEARRAYBOUND> bounds(dimensions);
    std::size_t total = 1;
    for (SAFEARRAYBOUND& bound : bounds) {
        bound = {static_cast<ULONG>(random() % 5), static_cast<LONG>(random() % 7) - 3};
        total *= bound.cElements;
    }
    const CSafeArrayPtr array(SafeArrayCreate(VT_BSTR, dimensions, bounds.data()));
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
            // Includes the index before the first element and the one after the last.
            const LONG offset = static_cast<LONG>(random() % (bounds[d].cElements + 2)) - 1;
            inside = inside && offset >= 0 && offset < static_cast<LONG>(bounds[d].cElements);
            indices[d] = bounds[d].lLbound + offset;
            position += static_cast<std::size_t>(offset) * stride;
            stride *= bounds[d].cElements;
        }
        const HRESULT expected = inside ? S_OK : DISP_E_BADINDEX;
        const CBstr put(NewBstr(RandomText(random)));
        CBstr got;
        ASSERT_EQ(SafeArrayPutElement(array.Get(), indices.data(), put.Get()), expected);
        ASSERT_EQ(SafeArrayGetElement(array.Get(), indices.data(), got.Put()), expected);
        if (inside) {
            ASSERT_NE(got.Get(), put.Get());
            ASSERT_EQ(model[position] = WholeText(put.Get()), WholeText(got.Get()));
        }
    }
    for (std::size_t i = 0; i < total; ++i) {
        ASSERT_EQ(WholeText(static_cast<BSTR*>(array.Get()->pvData)[i]), model[i]);
    }
}

TEST(SafeArray, HoldsStringsLikeAPlainList) {
    std::mt19937 random(2);
    for (int i = 0; i < 200 && !testing::Test::HasFatalFailure(); ++i) {
        CompareStringArrayWithModel(random);
    }
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
        {VT_I4, 4, FADF_HAVEVARTYPE},
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
    support::CCountedObject first;
    support::CCountedObject second;
    LONG index = 0;
    {
        const CSafeArrayPtr array(SafeArrayCreateVector(VT_UNKNOWN, 0, 2));
        ASSERT_EQ(SafeArrayPutElement(array.Get(), &index, &first), S_OK);
        ASSERT_EQ(SafeArrayPutElement(array.Get(), &index, &second), S_OK);
        CComPtr<IUnknown> got;
        ASSERT_EQ(SafeArrayGetElement(array.Get(), &index, got.PutVoid()), S_OK);
        EXPECT_TRUE(first.References() == 0 && second.References() == 2);
    }
    EXPECT_EQ(second.References(), 0U);
    // An array of variants that hold an array of variants that hold a string.
    const CSafeArrayPtr outer(SafeArrayCreateVector(VT_VARIANT, 0, 1));
    CVariant inner;
    CVariant text;
    inner.Get().vt = VT_ARRAY | VT_VARIANT;
    inner.Get().parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    text.Get().vt = VT_BSTR;
    text.Get().bstrVal = NewBstr(u"deep");
    ASSERT_EQ(SafeArrayPutElement(inner.Get().parray, &index, &text.Get()), S_OK);
    ASSERT_EQ(SafeArrayPutElement(outer.Get(), &index, &inner.Get()), S_OK);
    inner.Reset({});
    ASSERT_EQ(SafeArrayGetElement(outer.Get(), &index, inner.Put()), S_OK);
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

CComPtr<IErrorInfo> NewErrorInfo() {
    CComPtr<ICreateErrorInfo> maker;
    CComPtr<IErrorInfo> info;
    EXPECT_EQ(CreateErrorInfo(maker.Put()), S_OK);
    EXPECT_EQ(maker->QueryInterface(IID_IErrorInfo, info.PutVoid()), S_OK);
    return info;
}

TEST(ErrorInfo, IsPerThreadAndReadOnce) {
    const CComPtr<IErrorInfo> mine = NewErrorInfo();
    ASSERT_EQ(SetErrorInfo(0, mine.Get()), S_OK);
    EXPECT_EQ(SetErrorInfo(1, nullptr), E_INVALIDARG);
    std::thread([] {
        CComPtr<IErrorInfo> theirs;
        EXPECT_EQ(GetErrorInfo(0, theirs.Put()), S_FALSE);
        SetErrorInfo(0, NewErrorInfo().Get());  // released at the end of the thread
    }).join();
    CComPtr<IErrorInfo> got;
    EXPECT_EQ(GetErrorInfo(0, got.Put()), S_OK);
    EXPECT_EQ(got.Get(), mine.Get());
    EXPECT_EQ(GetErrorInfo(0, got.Put()), S_FALSE);
    SetErrorInfo(0, mine.Get());
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(GetErrorInfo(0, got.Put()), S_FALSE);
    CBstr text;
    EXPECT_TRUE(mine->GetHelpFile(text.Put()) == S_OK && !text);
    EXPECT_EQ(mine->GetGUID(nullptr), E_INVALIDARG);
    void* other = &other;
    EXPECT_TRUE(mine->QueryInterface(IID_IDispatch, &other) == E_NOINTERFACE && other == nullptr);
}

}  // namespace
