// Registry scripts: the keys and values that registering a module writes and unregistering
// deletes.
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
// White space separates words. A word in single quotes can contain any character; a quote in
// it is written twice. The roots are HKCR, HKCU, HKLM and HKU. A key can have a default value
// (`= s` text or `= d` number) and a block with subkeys and `val` lines. %NAME% is a
// replacement variable and %% a percent sign; variables are replaced first, also inside
// quotes. Keywords and names of variables are not case-sensitive.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/registry.h"

namespace server {

// The names and texts of the replacement variables.
using ScriptVariables = std::vector<std::pair<std::u16string_view, std::u16string>>;

class CRegistryScript {
public:
    // Parses the complete script, so that a malformed script changes nothing. Throws CExc
    // (0x8007000D) with the line number if the script is malformed.
    CRegistryScript(std::u16string_view text, const ScriptVariables& variables);

    // Register and Unregister stop at the first failure and return its Win32 error code.

    // Writes keys and values in the order of the script. Deletes a ForceRemove key with all
    // its subkeys before it writes the key.
    std::uint32_t Register(platform::IRegistry& registry) const;
    // Deletes the keys with all their subkeys, in reverse order. Of a NoRemove key and of its
    // ancestors it deletes only the values of the script. Missing keys are not a failure.
    std::uint32_t Unregister(platform::IRegistry& registry) const;

private:
    friend class CRegistryScriptParser;

    struct Value {
        std::u16string name;  // empty: the key's default value
        platform::RegistryValue value;
    };
    struct Key {
        platform::RegistryKey key;
        bool noRemove = false;     // Unregister does not delete the key
        bool forceRemove = false;  // Register deletes the key first
        std::vector<Value> values;
    };

    static std::uint32_t RegisterKey(const Key& key, platform::IRegistry& registry);
    static std::uint32_t UnregisterKey(const Key& key, platform::IRegistry& registry);

    std::vector<Key> m_keys;  // every key precedes its subkeys
};

// Doubles every single quote, for a text that is inserted between quotes.
std::u16string DoubleQuotes(std::u16string_view text);

}  // namespace server
