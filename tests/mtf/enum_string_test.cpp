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

// The result and the strings of a call.
std::u16string Next(IEnumString& strings, ULONG count) {
    LPOLESTR texts[4] = {};
    ULONG fetched = 7;
    std::u16string taken = strings.Next(count, texts, &fetched) == S_OK ? u"ok" : u"end";
    for (ULONG i = 0; i < fetched; ++i) {
        const automation::CBstr owned(texts[i]);
        taken += u" " + std::u16string(automation::TextOf(owned.Get()));
    }
    return taken;
}

TEST(EnumString, NextSkipResetAndClone) {
    const auto strings = NewEnumerator({u"a", u"", u"c", u"d"});
    EXPECT_EQ(Next(*strings, 0), u"ok");
    EXPECT_EQ(Next(*strings, 2), u"ok a ");
    CComPtr<IEnumString> clone;
    ASSERT_EQ(strings->Clone(clone.Put()), S_OK);
    EXPECT_EQ(Next(*clone, 1), u"ok a");  // from the first string on
    EXPECT_EQ(Next(*strings, 4), u"end c d");
    EXPECT_EQ(strings->Skip(0), S_FALSE);
    for (const ULONG count : {3U, 4U, 0xFFFFFFFFU}) {  // 4 reaches the end exactly
        EXPECT_EQ(strings->Reset(), S_OK);
        EXPECT_EQ(strings->Skip(count), count == 3 ? S_OK : S_FALSE);
        EXPECT_EQ(Next(*strings, 1), count == 3 ? u"ok d" : u"end");
    }
}

TEST(EnumString, NullPointersAndLife) {
    {
        const auto strings = NewEnumerator({u"a"});
        zorel::client::CString text;
        ULONG fetched = 7;
        EXPECT_EQ(strings->Next(1, nullptr, &fetched), E_POINTER);
        EXPECT_EQ(strings->Next(0, text.Put(), nullptr), E_POINTER);
        EXPECT_TRUE(text.Get() == nullptr && fetched == 7);
        EXPECT_EQ(strings->Next(1, text.Put(), nullptr), S_OK);
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
