#include "frame/server/registration/registry_script.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "frame/errors.h"
#include "support/memory_registry.h"

namespace {

const server::ScriptVariables kVariables = {{u"One", u"1 '' }"}, {u"KEY", u"%One%"}};

TEST(RegistryScript, RegistersAndUnregisters) {
    using Entries = std::set<std::string>;
    const struct {
        const char16_t* script;
        Entries registered;
        Entries unregistered = {};
    } rows[] = {
        // clang-format off
        {u"", {}},
        {u"HKCR { } hkcu\n{\n}\n", {}},
        {u"HKLM { a = s 'x y' b = d 4294967295 }",
         {"HKLM\\a", "HKLM\\a :  = x y", "HKLM\\b", "HKLM\\b :  = #4294967295"}},
        {u"HKU { a = s '' { val v = s 7 } }", {"HKU\\a", "HKU\\a :  = ", "HKU\\a : v = 7"}},
        {u"HKCU { a { b { c } d } } HKLM { e }",
         {"HKCU\\a", "HKCU\\a\\b", "HKCU\\a\\b\\c", "HKCU\\a\\d", "HKLM\\e"}},
        {u"HKU { 'a b' = s'it''s' 'val' { val '}' = d'7' val 'val' = s '''' } }",
         {"HKU\\a b", "HKU\\a b :  = it's", "HKU\\val", "HKU\\val : val = '", "HKU\\val : } = #7"}},
        {u"HKU { {0} = s '{' { '}' } }", {"HKU\\{0}", "HKU\\{0} :  = {", "HKU\\{0}\\}"}},
        {u"hkcr { NOREMOVE a { b } forceremove c 'Val' }",
         {"HKCR\\Val", "HKCR\\a", "HKCR\\a\\b", "HKCR\\c"}, {"HKCR\\a"}},
        {u"HKU { NoRemove a = s 'x' { val v = d 1 } }",
         {"HKU\\a", "HKU\\a :  = x", "HKU\\a : v = #1"}, {"HKU\\a"}},
        {u"HKU { a { b { NoRemove c { d } } e } }",
         {"HKU\\a", "HKU\\a\\b", "HKU\\a\\b\\c", "HKU\\a\\b\\c\\d", "HKU\\a\\e"},
         {"HKU\\a", "HKU\\a\\b", "HKU\\a\\b\\c"}},
        {u"HKU { NoRemove ForceRemove a { b } }", {"HKU\\a", "HKU\\a\\b"}, {"HKU\\a"}},
        {u"HKU { a = s '%one%' %KEY% = s '100%%' }",
         {"HKU\\%One%", "HKU\\%One% :  = 100%", "HKU\\a", "HKU\\a :  = 1 ' }"}},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(zorel::ToUtf8(row.script));
        support::CMemoryRegistry registry;
        const server::CRegistryScript script(row.script, kVariables);
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(script.Register(registry), 0U);
            EXPECT_EQ(registry.Entries(), row.registered);
        }
        EXPECT_EQ(script.Unregister(registry), 0U);
        EXPECT_EQ(registry.Entries(), row.unregistered);
    }
}

// A malformed script must be rejected before anything is written.
TEST(RegistryScript, RefusesMalformedScripts) {
    const struct {
        const char16_t *script, *message;
    } rows[] = {
        {u"HKEY { a }", u"line 1: not a root key"},
        {u"'HKCR' { a }", u"line 1: not a root key"},
        {u"HKCR { a } }", u"line 1: not a root key"},
        {u"HKCR", u"line 1: an opening brace is missing at the end"},
        {u"HKCR a", u"an opening brace is missing."},
        {u"HKCR\n{\n a {\n", u"line 4: a key or a closing brace is missing at the end"},
        {u"HKCR { a = s 'x", u"a quote without its partner"},
        {u"HKCR { 'a\n\nb' = s\n}", u"line 4: a key or"},
        {u"HKCR { '' = s 'x' }", u"not the name of a key"},
        {u"HKCR { 'a\\b' }", u"not the name of a key"},
        {u"HKCR { = s 'x' }", u"not the name of a key"},
        {u"HKCR { a { { b } } }", u"not the name of a key"},
        {u"HKCR { val v = s 'x' }", u"a value needs a key"},
        {u"HKCR { a { val '' = s 'x' } }", u"a value needs a key"},
        {u"HKCR { a { val v } }", u"a value needs a key"},
        {u"HKCR { a { val v = b 01 } }", u"a value is neither"},
        {u"HKCR { a = d 4294967296 }", u"not a number"},
        {u"HKCR { a = d -1 }", u"not a number"},
        {u"HKCR { a = d 1x }", u"not a number"},
        {u"HKCR { a = d '' }", u"not a number"},
        {u"HKCR { a = s '%two%' }", u"an unknown replacement variable"},
        {u"\nHKCR { a = s '100%' }", u"line 2: a percent sign"},
    };
    std::u16string deep = u"HKCR";
    for (int i = 0; i < 3000; ++i) {
        deep += u" { a";
    }
    const auto refusal = [](std::u16string_view text) -> std::u16string {
        try {
            const server::CRegistryScript script(text, kVariables);
        } catch (const frame::CExc& exc) {
            EXPECT_EQ(static_cast<std::uint32_t>(exc.GetHResult()), 0x8007000DU);
            return exc.GetFullMessage();
        }
        return u"accepted";
    };
    for (const auto& row : rows) {
        EXPECT_NE(refusal(row.script).find(row.message), std::u16string::npos)
            << zorel::ToUtf8(row.script) << " -> " << zorel::ToUtf8(refusal(row.script));
    }
    EXPECT_NE(refusal(deep).find(u"missing at the end"), std::u16string::npos);
    const std::u16string whole = u"HKCR\n{ NoRemove a = s '%one%' { val v = d 1 ForceRemove b } }";
    EXPECT_EQ(refusal(whole), u"accepted");
    for (std::size_t length = 1; length < whole.size(); ++length) {
        EXPECT_NE(refusal(whole.substr(0, length)), u"accepted") << length;
    }
}

}  // namespace
