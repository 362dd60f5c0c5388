#include "frame/server/registration/registry_script.h"

#include <gtest/gtest.h>

#include <string>

#include "frame/errors.h"
#include "support/memory_registry.h"

namespace {

using platform::ERegistryRoot;

const server::ScriptVariables kVariables = {{u"One", u"1 '' }"}, {u"KEY", u"%One%"}};

std::string EntriesOf(support::CMemoryRegistry& registry) {
    std::string text;
    for (const auto root : {ERegistryRoot::ClassesRoot, ERegistryRoot::CurrentUser,
                            ERegistryRoot::LocalMachine, ERegistryRoot::Users}) {
        text += support::DumpRegistry(registry, {root, u""}, {u"", u"v", u"val", u"}"});
    }
    return text;
}

TEST(RegistryScript, RegistersAndUnregisters) {
    const struct {
        const char16_t* script;
        const char* registered;
        const char* unregistered;
    } rows[] = {
        // clang-format off
        {u"", "", ""},
        {u"HKCR { } hkcu\n{\n}\n", "", ""},
        {u"HKCR { a = s 'x y' b = d 4294967295 }", "a\na :  = x y\nb\nb :  = 4294967295\n", ""},
        {u"HKCR { a = s '' { val v = s bare } }", "a\na :  = \na : v = bare\n", ""},
        {u"HKCU { a { b { c } d } } HKLM { e } HKU { f }", "a\na\\b\na\\b\\c\na\\d\ne\nf\n", ""},
        {u"HKCR { 'a b' = s'it''s' 'val' { val '}' = d'7' val 'val' = s '''' } }", "a b\na b :  = it's\nval\nval : val = '\nval : } = 7\n", ""},
        {u"HKCR { {0} = s '{' { '}' } }", "{0}\n{0} :  = {\n{0}\\}\n", ""},
        {u"hkcr { NOREMOVE a { b } forceremove c 'Val' }", "Val\na\na\\b\nc\n", "a\n"},
        {u"HKCR { NoRemove a = s 'x' { val v = d 1 } }", "a\na :  = x\na : v = 1\n", "a\n"},
        {u"HKCR { a { b { NoRemove c { d } } e } }", "a\na\\b\na\\b\\c\na\\b\\c\\d\na\\e\n", "a\na\\b\na\\b\\c\n"},
        {u"HKCR { NoRemove ForceRemove a { b } }", "a\na\\b\n", "a\n"},
        {u"HKCR { a = s '%one%' %KEY% = s '100%%' }", "%One%\n%One% :  = 100%\na\na :  = 1 ' }\n", ""},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(zorel::ToUtf8(row.script));
        support::CMemoryRegistry registry;
        const server::CRegistryScript script(row.script, kVariables);
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(script.Register(registry), 0U);
            EXPECT_EQ(EntriesOf(registry), row.registered);
        }
        EXPECT_EQ(script.Unregister(registry), 0U);
        EXPECT_EQ(EntriesOf(registry), row.unregistered);
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
}

// A truncated script must be rejected, whatever its length.
TEST(RegistryScript, RefusesEveryBeginningOfAScript) {
    for (const char* const name : {"app_id.rgs", "class.rgs"}) {
        const std::u16string whole = support::RegistrationScript(name);
        const server::ScriptVariables variables = {{u"Module", u"C:\\x.dll"}, {u"APPID", u"{0}"}};
        ASSERT_GT(whole.size(), 100U);
        EXPECT_NO_THROW(server::CRegistryScript(whole, variables)) << name;
        for (std::size_t length = 1; length <= whole.rfind(u'}'); ++length) {
            EXPECT_THROW(server::CRegistryScript(whole.substr(0, length), variables), frame::CExc)
                << name << " " << length;
        }
    }
}

}  // namespace
