// Registry scripts: a malformed one is refused; every other one can be registered twice and
// unregistered.
#include "frame/server/registration/registry_script.h"

#include <optional>

#include "frame/errors.h"
#include "fuzz.h"
#include "support/memory_registry.h"
#include "support/tdf_model.h"

namespace fuzz {

namespace {

using server::CRegistryScript;

constexpr frame::HResult kInvalidData = static_cast<frame::HResult>(0x8007000DU);

std::optional<CRegistryScript> Parse(std::u16string_view text) {
    try {
        return CRegistryScript(text, {{u"Module", u"C:\\'x'.dll"}, {u"APPID", u"{0}"}});
    } catch (const frame::CExc& exc) {
        Require(exc.GetHResult() == kInvalidData, "a malformed script has its own result");
        Require(exc.GetFullMessage().find(u"line ") != std::u16string::npos,
                "a malformed script is reported with a line number");
        return std::nullopt;
    }
}

}  // namespace

void Run(std::string_view bytes) {
    const std::u16string text = zorel::ToUtf16(bytes);
    const std::optional<CRegistryScript> script = Parse(text);
    if (!script) {
        return;
    }
    support::CMemoryRegistry registry;
    Require(script->Register(registry) == 0, "a script can be registered");
    const auto registered = registry.Entries();
    Require(script->Register(registry) == 0 && registry.Entries() == registered,
            "a script can be registered again");
    Require(script->Unregister(registry) == 0, "a script can be unregistered");
    const auto left = registry.Entries();
    const bool hasNoRemove = support::Lower(text).find(u"noremove") != std::u16string::npos;
    Require(left.empty() || hasNoRemove, "unregistering deletes every key but the NoRemove keys");
    Require(script->Unregister(registry) == 0 && registry.Entries() == left,
            "a script can be unregistered again");
}

std::vector<std::string> Seeds() {
    return {ReadSource("src/frame/server/app_id.rgs"), ReadSource("src/frame/server/class.rgs"),
            "HKCU { a = s 'it''s 100%%' { b { val v = d 7 } NoRemove c = s '%MODULE%' } }\n"
            "hklm { ForceRemove 'x y' { val 'v' = s bare } }"};
}

}  // namespace fuzz
