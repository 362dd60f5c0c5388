// Registration with the real scripts, a registry of the test and a system that can fail.
#include "frame/server/registration/registration.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>

#include "support/automation_check.h"
#include "support/memory_registry.h"

namespace {

using platform::ERegistryRoot;
using platform::RegistryKey;

constexpr HRESULT kRefusal = static_cast<HRESULT>(0x80070005U);
constexpr LCID kThreadLocale = 0x407;
constexpr char kModule[] = R"(C:\it's ''here''\100%APPID%\{ } x.dll)";
using Entries = std::set<std::string>;
// Keys and values of other programs, which must remain.
const Entries kUnregistered = {"AppID",           "AppID\\Other", "CLSID",
                               "CLSID :  = kept", "CLSID\\{0}",   "ZorelOibIdxLib.COibIdxLib.51"};

// A module with quotes, blanks and percent signs in its path.
class CTestSetup final : public automation::IModuleSetup {
public:
    CTestSetup() {
        registry.CreateKey({ERegistryRoot::ClassesRoot, u"AppID\\Other"});
        registry.CreateKey({ERegistryRoot::ClassesRoot, u"CLSID\\{0}"});
        registry.CreateKey({ERegistryRoot::ClassesRoot, u"ZorelOibIdxLib.COibIdxLib.51"});
        registry.SetValue({ERegistryRoot::ClassesRoot, u"CLSID"}, u"", std::u16string(u"kept"));
    }

    // The step with this 0-based number and all later steps fail. The registry counts its
    // calls separately.
    void RefuseFrom(int step) { m_stepsLeft = step; }

    support::CMemoryRegistry& Registry() override { return registry; }
    HRESULT LoadScript(std::uint16_t number, std::u16string& script) override {
        const char* const name = number == automation::kAppIdScript ? "app_id.rgs" : "class.rgs";
        script = support::RegistrationScript(name);
        return Step(name);
    }
    HRESULT GetModulePath(std::u16string& path) override {
        path = zorel::ToUtf16(kModule);
        return Refuses() ? kRefusal : S_OK;
    }
    HRESULT RegisterTypeLibrary(const std::u16string&) override { return Step("library"); }
    HRESULT UnregisterTypeLibrary(const std::u16string&) override { return Step("no library"); }
    LCID EnterSystemLocale() noexcept override { return std::exchange(locale, 0x800); }
    void RestoreLocale(LCID former) noexcept override { locale = former; }

    Entries Found() {
        std::istringstream dump(support::DumpRegistry(registry, {ERegistryRoot::ClassesRoot, u""},
                                                      {u"", u"AppID", u"ThreadingModel"}));
        Entries entries;
        for (std::string line; std::getline(dump, line);) {
            entries.insert(line);
        }
        return entries;
    }

    support::CMemoryRegistry registry;
    LCID locale = kThreadLocale;
    std::string steps;

private:
    bool Refuses() { return m_stepsLeft == 0 || (m_stepsLeft > 0 && m_stepsLeft-- == 0); }
    HRESULT Step(const char* name) {
        EXPECT_EQ(locale, 0x800U) << name;
        const bool refuses = Refuses();
        steps += refuses ? "" : std::string(name) + ";";
        return refuses ? kRefusal : S_OK;
    }

    int m_stepsLeft = -1;  // -1: none fails
};

// The entries that the Windows module writes, and those of other programs.
Entries Registered() {
    Entries entries = kUnregistered;
    std::ifstream file(ZOREL_SOURCE_DIR "/tests/windows/registered.txt");
    const std::regex entry(R"x(> \[HKEY_CLASSES_ROOT\\(.*)\](?: (?:@|"(.*)")="(.*)")?)x");
    std::smatch found;
    for (std::string line; std::getline(file, line);) {
        // The system writes the entries of the type library.
        if (line.find("\\Typelib\\") == line.npos && std::regex_match(line, found, entry)) {
            const std::string value = found[3] == "MODULE" ? kModule : found[3].str();
            entries.insert(found[1]);
            if (found[3].matched) {
                entries.insert(found[1].str() + " : " + found[2].str() + " = " + value);
            }
        }
    }
    return entries;
}

TEST(Registration, WritesAndDeletesThePublishedEntries) {
    CTestSetup setup;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(server::RegisterServer(setup), S_OK);
        EXPECT_EQ(setup.Found(), Registered());
        EXPECT_EQ(std::exchange(setup.steps, ""), "app_id.rgs;class.rgs;library;");
        // An entry of an older version under the class key must be deleted.
        const RegistryKey old{ERegistryRoot::ClassesRoot,
                              u"CLSID\\{F527D4A6-8452-43F4-95F5-DCC32FB0DC24}\\Old\\Older"};
        EXPECT_EQ(setup.registry.CreateKey(old), 0U);
    }
    EXPECT_NE(setup.Found(), Registered());
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(server::UnregisterServer(setup), S_OK);
        EXPECT_EQ(setup.Found(), kUnregistered);
        EXPECT_EQ(std::exchange(setup.steps, ""), "class.rgs;no library;app_id.rgs;");
    }
    EXPECT_EQ(setup.locale, kThreadLocale);
}

// Lets each step fail in turn: its code is returned, no later step runs, and the next call
// succeeds. Returns the number of steps.
template <class Refuse>
int RefuseEveryStep(HRESULT (*action)(automation::IModuleSetup&) noexcept, const Entries& after,
                    Refuse refuse) {
    for (int step = 0;; ++step) {
        CTestSetup setup;
        EXPECT_EQ(server::RegisterServer(setup), S_OK);
        refuse(setup, step);
        const HRESULT hr = action(setup);
        refuse(setup, -1);
        EXPECT_EQ(setup.locale, kThreadLocale);
        if (hr == S_OK || step == 200) {
            return step;
        }
        EXPECT_EQ(hr, kRefusal) << step;
        EXPECT_NE(support::TakeError().description, u"");
        EXPECT_EQ(action(setup), S_OK) << step;
        EXPECT_EQ(setup.Found(), after) << step;
    }
}

TEST(Registration, ReturnsTheFirstFailure) {
    const auto inRegistry = [](CTestSetup& setup, int step) { setup.registry.RefuseFrom(step); };
    const auto around = [](CTestSetup& setup, int step) { setup.RefuseFrom(step); };
    // The number of calls: one for each key, each value and each deletion of a ForceRemove key.
    EXPECT_EQ(RefuseEveryStep(&server::RegisterServer, Registered(), inRegistry), 34);
    EXPECT_EQ(RefuseEveryStep(&server::UnregisterServer, kUnregistered, inRegistry), 14);
    EXPECT_EQ(RefuseEveryStep(&server::RegisterServer, Registered(), around), 6);
    EXPECT_EQ(RefuseEveryStep(&server::UnregisterServer, kUnregistered, around), 6);
}

}  // namespace
