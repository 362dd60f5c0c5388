// Registration with the real scripts, a registry of the test and a system that can fail.
#include "frame/server/registration/registration.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/automation_check.h"
#include "support/memory_registry.h"

namespace {

using platform::ERegistryRoot;
using platform::RegistryKey;

constexpr HRESULT kRefusal = static_cast<HRESULT>(0x80070005U);
constexpr LCID kThreadLocale = 0x407;

// A module with quotes, blanks and percent signs in its path.
class CTestSetup final : public automation::IModuleSetup {
public:
    // Keys and values of other programs, which must remain.
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
        path = u"C:\\it's ''here''\\100%APPID%\\{ } x.dll";
        return Refuses() ? kRefusal : S_OK;
    }
    HRESULT RegisterTypeLibrary(const std::u16string&) override { return Step("library"); }
    HRESULT UnregisterTypeLibrary(const std::u16string&) override { return Step("no library"); }
    LCID EnterSystemLocale() noexcept override { return std::exchange(locale, 0x800); }
    void RestoreLocale(LCID former) noexcept override { locale = former; }

    std::string Entries() {
        return support::DumpRegistry(registry, {ERegistryRoot::ClassesRoot, u""},
                                     {u"", u"AppID", u"ThreadingModel", u"stale"});
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

const char kRegistered[] = R"(AppID
AppID\Other
AppID\ZorelOibIdxLib.DLL
AppID\ZorelOibIdxLib.DLL : AppID = {472b2912-7d3a-44d0-9ca8-d3d5475aec0a}
AppID\ZorelOibIdxLib.DLL\LocalServer32
AppID\ZorelOibIdxLib.DLL\LocalServer32 :  = C:\it's ''here''\100%APPID%\{ } x.dll
AppID\ZorelOibIdxLib.DLL\LocalServer32 : ThreadingModel = Both
AppID\{472b2912-7d3a-44d0-9ca8-d3d5475aec0a}
AppID\{472b2912-7d3a-44d0-9ca8-d3d5475aec0a} :  = ZorelOibIdxLib
CLSID
CLSID :  = kept
CLSID\{0}
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24} :  = COibIdxLib Class
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24} : AppID = {472b2912-7d3a-44d0-9ca8-d3d5475aec0a}
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}\InprocServer32
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}\InprocServer32 :  = C:\it's ''here''\100%APPID%\{ } x.dll
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}\InprocServer32 : ThreadingModel = Apartment
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}\ProgID
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}\ProgID :  = ZorelOibIdxLib.COibIdxLib.5
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}\Programmable
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}\TypeLib
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}\TypeLib :  = {b61b642b-ea60-4c62-918f-26f54f0f815d}
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}\VersionIndependentProgID
CLSID\{f527d4a6-8452-43f4-95f5-dcc32fb0dc24}\VersionIndependentProgID :  = ZorelOibIdxLib.COibIdxLib
ZorelOibIdxLib.COibIdxLib
ZorelOibIdxLib.COibIdxLib :  = COibIdxLib Class
ZorelOibIdxLib.COibIdxLib\CLSID
ZorelOibIdxLib.COibIdxLib\CLSID :  = {f527d4a6-8452-43f4-95f5-dcc32fb0dc24}
ZorelOibIdxLib.COibIdxLib\CurVer
ZorelOibIdxLib.COibIdxLib\CurVer :  = ZorelOibIdxLib.COibIdxLib.5
ZorelOibIdxLib.COibIdxLib.5
ZorelOibIdxLib.COibIdxLib.5 :  = COibIdxLib Class
ZorelOibIdxLib.COibIdxLib.5\CLSID
ZorelOibIdxLib.COibIdxLib.5\CLSID :  = {f527d4a6-8452-43f4-95f5-dcc32fb0dc24}
ZorelOibIdxLib.COibIdxLib.51
)";

const char kUnregistered[] =
    "AppID\nAppID\\Other\nCLSID\nCLSID :  = kept\nCLSID\\{0}\nZorelOibIdxLib.COibIdxLib.51\n";

TEST(Registration, WritesAndDeletesThePublishedEntries) {
    CTestSetup setup;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(server::RegisterServer(setup), S_OK);
        EXPECT_EQ(setup.Entries(), kRegistered);
        EXPECT_EQ(std::exchange(setup.steps, ""), "app_id.rgs;class.rgs;library;");
        // An entry of an older version under the class key must be deleted.
        const RegistryKey old{ERegistryRoot::ClassesRoot,
                              u"CLSID\\{F527D4A6-8452-43F4-95F5-DCC32FB0DC24}\\Old\\Older"};
        EXPECT_EQ(setup.registry.CreateKey(old), 0U);
        setup.registry.SetValue(old, u"stale", std::u16string(u"x"));
    }
    EXPECT_NE(setup.Entries(), kRegistered);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(server::UnregisterServer(setup), S_OK);
        EXPECT_EQ(setup.Entries(), kUnregistered);
        EXPECT_EQ(std::exchange(setup.steps, ""), "class.rgs;no library;app_id.rgs;");
    }
    EXPECT_EQ(setup.locale, kThreadLocale);
}

// Lets each step fail in turn: its code is returned, no later step runs, and the next call
// succeeds. Returns the number of steps.
template <class Refuse>
int RefuseEveryStep(HRESULT (*action)(automation::IModuleSetup&) noexcept, const char* after,
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
        EXPECT_EQ(setup.Entries(), after) << step;
    }
}

TEST(Registration, ReturnsTheFirstFailure) {
    const auto inRegistry = [](CTestSetup& setup, int step) { setup.registry.RefuseFrom(step); };
    const auto around = [](CTestSetup& setup, int step) { setup.RefuseFrom(step); };
    // The number of calls: one for each key, each value and each deletion of a ForceRemove key.
    EXPECT_EQ(RefuseEveryStep(&server::RegisterServer, kRegistered, inRegistry), 34);
    EXPECT_EQ(RefuseEveryStep(&server::UnregisterServer, kUnregistered, inRegistry), 14);
    EXPECT_EQ(RefuseEveryStep(&server::RegisterServer, kRegistered, around), 6);
    EXPECT_EQ(RefuseEveryStep(&server::UnregisterServer, kUnregistered, around), 6);
}

}  // namespace
