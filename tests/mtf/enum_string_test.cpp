#include "mtf/tree/co_enum_string.h"

#include <gtest/gtest.h>

#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "frame/objects/module.h"

namespace {

using automation::CComPtr;
using coClasses::CCoEnumString;

CComPtr<CCoEnumString> NewEnumerator(coClasses::StringList list) {
    return CComPtr<CCoEnumString>::Attach(
        new CCoEnumString(std::make_shared<const coClasses::StringList>(std::move(list))));
}

struct Taken {
    HRESULT hr;
    std::u16string text;
    ULONG fetched;
};

Taken Take(IEnumString& strings, ULONG count) {
    LPOLESTR texts[4] = {};
    ULONG fetched = 7;
    Taken taken{strings.Next(count, texts, &fetched), {}, fetched};
    for (LPOLESTR text : texts) {
        const automation::CBstr owned(text);
        taken.text += automation::TextOf(owned.Get());
    }
    return taken;
}

TEST(EnumString, NextSkipResetAndClone) {
    const auto strings = NewEnumerator({u"a", u"", u"c", u"d"});
    CComPtr<IEnumString> clone;
    enum class EStep { Next, Skip, Reset, UseClone };
    const struct {
        EStep step;
        ULONG count;
        HRESULT hr;
        const char16_t* text;
    } rows[] = {
        {EStep::Next, 0, S_OK, u""},      {EStep::Next, 1, S_OK, u"a"},
        {EStep::UseClone, 1, S_OK, u"a"},  // from the start, not from here
        {EStep::Next, 2, S_OK, u"c"},     {EStep::Next, 4, S_FALSE, u"d"},
        {EStep::Next, 1, S_FALSE, u""},   {EStep::Skip, 0, S_FALSE, u""},
        {EStep::Reset, 0, S_OK, u""},     {EStep::Skip, 3, S_OK, u""},
        {EStep::Next, 1, S_OK, u"d"},     {EStep::Reset, 0, S_OK, u""},
        {EStep::Skip, 4, S_FALSE, u""},  // the end reached exactly is already too far
        {EStep::Reset, 0, S_OK, u""},     {EStep::Skip, 0xFFFFFFFF, S_FALSE, u""},
        {EStep::Next, 4, S_FALSE, u""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        Taken taken{};
        if (row.step == EStep::Skip) {
            taken.hr = strings->Skip(row.count);
        } else if (row.step == EStep::Reset) {
            taken.hr = strings->Reset();
        } else if (row.step == EStep::Next) {
            taken = Take(*strings, row.count);
        } else {
            ASSERT_EQ(strings->Clone(clone.Put()), S_OK);
            taken = Take(*clone, row.count);
        }
        EXPECT_EQ(taken.hr, row.hr);
        EXPECT_EQ(taken.text, row.text);
    }
    EXPECT_EQ(Take(*strings, 0).fetched, 0U);
}

TEST(EnumString, NullPointersAndLife) {
    {
        const auto strings = NewEnumerator({u"a"});
        LPOLESTR text = nullptr;
        ULONG fetched = 7;
        EXPECT_EQ(strings->Next(1, nullptr, &fetched), E_POINTER);
        EXPECT_EQ(strings->Next(0, &text, nullptr), E_POINTER);
        EXPECT_EQ(strings->Next(2, &text, nullptr), E_POINTER);
        EXPECT_TRUE(text == nullptr && fetched == 7);
        EXPECT_EQ(strings->Next(1, &text, nullptr), S_OK);
        ::SysFreeString(text);
        EXPECT_EQ(strings->Clone(nullptr), E_POINTER);
        CComPtr<ISupportErrorInfo> support;
        ASSERT_EQ(strings->QueryInterface(IID_ISupportErrorInfo, support.PutVoid()), S_OK);
        EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IEnumString), S_OK);
        EXPECT_EQ(support->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
        EXPECT_FALSE(frame::ModuleCanUnload());
    }
    EXPECT_TRUE(frame::ModuleCanUnload());
}

}  // namespace
