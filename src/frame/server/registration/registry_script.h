// Registry scripts: what registering a module writes, and what unregistering takes away.
//
//     HKCR
//     {
//         NoRemove CLSID
//         {
//             ForceRemove {00000000-...} = s 'default value'
//             {
//                 val Name = s 'text with one '' quote'
//                 val Count = d 5
//             }
//         }
//     }
//
// Words are divided by white space; one in single quotes may hold anything, a quote being
// written twice. Roots are HKCR, HKCU, HKLM and HKU. A key may have a default value (`= s`
// text or `= d` number) and a block with subkeys and `val` lines. %NAME% stands for a
// replacement variable, %% for a percent sign; variables are replaced before anything else,
// inside quotes too. Words of the language and names of variables have no letter case.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/registry.h"

namespace server {

// Names and texts of the replacement variables.
using ScriptVariables = std::vector<std::pair<std::u16string_view, std::u16string>>;

class CRegistryScript {
public:
    // Reads the whole script; throws CExc (0x8007000D) with the place when it is malformed,
    // so that a script which cannot be read changes nothing.
    CRegistryScript(std::u16string_view text, const ScriptVariables& variables);

    // Both stop at the first key or value that is refused and return its Win32 code.

    // Writes keys and values in the order of the script. A ForceRemove key is deleted with
    // everything below it first.
    std::uint32_t Register(platform::IRegistry& registry) const;
    // Deletes the keys with everything below them, the last first. NoRemove keys and those
    // above one stay, with values that are not the script's. What is missing is no failure.
    std::uint32_t Unregister(platform::IRegistry& registry) const;

private:
    friend class CRegistryScriptParser;

    struct Value {
        std::u16string name;  // empty: the key's default value
        platform::RegistryValue value;
    };
    struct Key {
        platform::RegistryKey key;
        bool keep = false;   // when unregistering
        bool fresh = false;  // delete before writing
        std::vector<Value> values;
    };

    static std::uint32_t RegisterKey(const Key& key, platform::IRegistry& registry);
    static std::uint32_t UnregisterKey(const Key& key, platform::IRegistry& registry);

    std::vector<Key> m_keys;  // a key before its subkeys
};

// Writes every quote twice, for a text that goes between quotes.
std::u16string DoubleQuotes(std::u16string_view text);

}  // namespace server
