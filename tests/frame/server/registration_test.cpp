// Registration with the real scripts, a registry of the test and a system that can fail.
#include "frame/server/registration/registration.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <utility>

#include "support/automation_check.h"
#include "support/memory_registry.h"

namespace {

using platform::ERegistryRoot;

constexpr HRESULT kRefusal = static_cast<HRESULT>(0x80070005U);
constexpr LCID kThreadLocale = 0x407;
constexpr char kModule[] = R"(C:\it's ''here''\100%APPID%\{ } x.dll)";
// Keys and values of other programs, which must remain.
const std::set<std::string> kUnregistered = {
    "HKCR\\AppID",           "HKCR\\AppID\\Other", "HKCR\\CLSID",
    "HKCR\\CLSID :  = kept", "HKCR\\CLSID\\{0}",   "HKCR\\ZorelOibIdxLib.COibIdxLib.51"};

// A module with quotes, blanks and percent signs in its path.
class CTestSetup final : public automation::IModuleSetup {
public:
    CTestSetup() {
        for (const char16_t* const path :
             {u"AppID\\Other", u"CLSID\\{0}", u"ZorelOibIdxLib.COibIdxLib.51"}) {
            registry.CreateKey({ERegistryRoot::ClassesRoot, path});
        }
        registry.SetValue({ERegistryRoot::ClassesRoot, u"CLSID"}, u"", std::u16string(u"kept"));
    }

    support::CMemoryRegistry& Registry() override { return registry; }
    HRESULT LoadScript(std::uint16_t number, std::u16string& script) override {
        const std::string name = number == automation::kAppIdScript ? "app_id.rgs" : "class.rgs";
        std::ifstream file(ZOREL_SOURCE_DIR "/src/frame/server/" + name);
        script = zorel::ToUtf16(std::string{std::istreambuf_iterator<char>(file), {}});
        return Step(name + ";");
    }
    HRESULT GetModulePath(std::u16string& path) override {
        path = zorel::ToUtf16(kModule);
        return Step("");
    }
    HRESULT RegisterTypeLibrary(const std::u16string&) override { return Step("library;"); }
    HRESULT UnregisterTypeLibrary(const std::u16string&) override { return Step("no library;"); }
    LCID EnterSystemLocale() noexcept override { return std::exchange(locale, 0x800); }
    void RestoreLocale(LCID former) noexcept override { locale = former; }

    support::CMemoryRegistry registry;
    LCID locale = kThreadLocale;
    std::string steps;

private:
    HRESULT Step(const std::string& name) {
        EXPECT_EQ(locale, 0x800U) << name;
        steps += name;
        return registry.Refuses() ? kRefusal : S_OK;
    }
};

// The entries that the Windows module writes, and those of other programs.
std::set<std::string> Registered() {
    std::set<std::string> entries = kUnregistered;
    std::ifstream file(ZOREL_SOURCE_DIR "/tests/windows/registered.txt");
    const std::regex entry(R"x(> \[HKEY_CLASSES_ROOT\\(.*)\](?: (?:@|"(.*)")="(.*)")?)x");
    std::smatch found;
    for (std::string line; std::getline(file, line);) {
        // The system writes the entries of the type library.
        if (line.find("\\Typelib\\") == line.npos && std::regex_match(line, found, entry)) {
            const std::string key = "HKCR\\" + found[1].str();
            const std::string value = found[3] == "MODULE" ? kModule : found[3].str();
            entries.insert(key);
            if (found[3].matched) {
                entries.insert(key + " : " + found[2].str() + " = " + value);
            }
        }
    }
    return entries;
}

// Each step fails in turn: its code is returned and the next call succeeds. In the last round
// none fails.
TEST(Registration, WritesAndDeletesThePublishedEntries) {
    const struct {
        HRESULT (*action)(automation::IModuleSetup&) noexcept;
        std::set<std::string> entries;
        const char* steps;
        int count;  // one for each key, value, deletion of a ForceRemove key and call of the setup
    } rows[] = {
        {&server::RegisterServer, Registered(), "app_id.rgs;class.rgs;library;", 40},
        {&server::UnregisterServer, kUnregistered, "class.rgs;no library;app_id.rgs;", 20},
    };
    for (const auto& row : rows) {
        for (int step = 0; step <= row.count; ++step) {
            SCOPED_TRACE(row.steps + std::to_string(step));
            CTestSetup setup;
            EXPECT_EQ(server::RegisterServer(setup), S_OK);
            // An entry of an older version under the class key must be deleted.
            setup.registry.CreateKey(
                {ERegistryRoot::ClassesRoot,
                 u"CLSID\\{F527D4A6-8452-43F4-95F5-DCC32FB0DC24}\\Old\\Older"});
            setup.registry.RefuseFrom(step);
            EXPECT_EQ(row.action(setup), step < row.count ? kRefusal : S_OK);
            EXPECT_EQ(support::TakeError().description.empty(), step == row.count);
            EXPECT_EQ(setup.locale, kThreadLocale);
            setup.registry.RefuseFrom(-1);
            setup.steps.clear();
            EXPECT_EQ(row.action(setup), S_OK);
            EXPECT_EQ(setup.registry.Entries(), row.entries);
            EXPECT_EQ(setup.steps, row.steps);
        }
    }
}

}  // namespace
