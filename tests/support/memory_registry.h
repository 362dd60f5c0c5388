// A registry in memory for tests. Any call that changes it can be made to fail.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelText.h"
#include "platform/errors.h"
#include "platform/registry.h"
#include "text/ascii_case.h"

namespace support {

class CMemoryRegistry final : public platform::IRegistry {
public:
    static constexpr std::uint32_t kRefusal = platform::win32err::kAccessDenied;

    // The change with this number, from 0, and all changes after it are refused; -1: none.
    void RefuseFrom(int change) { m_changesLeft = change; }

    std::uint32_t CreateKey(const platform::RegistryKey& key) override {
        return Change([&] {
            for (std::size_t end = 0; end < key.path.size(); ++end) {
                end = std::min(key.path.find(u'\\', end), key.path.size());
                KeysOf(key).try_emplace(key.path.substr(0, end));
            }
            return true;
        });
    }
    std::uint32_t DeleteTree(const platform::RegistryKey& key) override {
        return Change([&] {
            return std::erase_if(KeysOf(key), [&](const auto& entry) {
                       return text::EqualsNoCase(entry.first, key.path) ||
                              text::StartsWithNoCase(entry.first, key.path + u'\\');
                   }) != 0;
        });
    }
    std::uint32_t ListSubkeys(const platform::RegistryKey& key,
                              std::vector<std::u16string>& names) override {
        const std::u16string parent = key.path + (key.path.empty() ? u"" : u"\\");
        names.clear();
        for (const auto& [path, values] : KeysOf(key)) {
            if (text::StartsWithNoCase(path, parent) &&
                path.find(u'\\', parent.size()) == std::u16string::npos) {
                names.push_back(path.substr(parent.size()));
            }
        }
        return ResultOf(key.path.empty() || ValuesOf(key) != nullptr);
    }
    std::uint32_t SetValue(const platform::RegistryKey& key, std::u16string_view name,
                           const platform::RegistryValue& value) override {
        return Change([&] {
            Values* const values = ValuesOf(key);
            return values != nullptr &&
                   (values->insert_or_assign(std::u16string(name), value), true);
        });
    }
    std::uint32_t ReadValue(const platform::RegistryKey& key, std::u16string_view name,
                            platform::RegistryValue& value) override {
        Values* const values = ValuesOf(key);
        const bool found = values != nullptr && values->contains(std::u16string(name));
        value = found ? values->at(std::u16string(name)) : value;
        return ResultOf(found);
    }
    std::uint32_t DeleteValue(const platform::RegistryKey& key, std::u16string_view name) override {
        return Change([&] {
            Values* const values = ValuesOf(key);
            return values != nullptr && values->erase(std::u16string(name)) != 0;
        });
    }

private:
    struct IsBefore {
        bool operator()(const std::u16string& a, const std::u16string& b) const {
            return text::CompareNoCase(a, b) < 0;
        }
    };
    using Values = std::map<std::u16string, platform::RegistryValue, IsBefore>;
    using Keys = std::map<std::u16string, Values, IsBefore>;  // by path, as first written

    static std::uint32_t ResultOf(bool found) {
        return found ? platform::win32err::kSuccess : platform::win32err::kFileNotFound;
    }
    template <class Action>
    std::uint32_t Change(Action action) {
        const bool refused = m_changesLeft == 0 || (m_changesLeft > 0 && m_changesLeft-- == 0);
        return refused ? kRefusal : ResultOf(action());
    }
    Keys& KeysOf(const platform::RegistryKey& key) {
        return m_keys[static_cast<std::size_t>(key.root)];
    }
    Values* ValuesOf(const platform::RegistryKey& key) {
        const auto found = KeysOf(key).find(key.path);
        return found == KeysOf(key).end() ? nullptr : &found->second;
    }

    int m_changesLeft = -1;
    std::array<Keys, 4> m_keys;  // by root
};

// The module's registration script with this file name.
inline std::u16string RegistrationScript(const std::string& name) {
    std::ifstream file(ZOREL_SOURCE_DIR "/src/frame/server/" + name);
    return zorel::ToUtf16(std::string{std::istreambuf_iterator<char>(file), {}});
}

// The keys below `key`, a line for each key and each of the named values: "path" and
// "path : name = value".
inline std::string DumpRegistry(platform::IRegistry& registry, const platform::RegistryKey& key,
                                const std::vector<std::u16string>& valueNames) {
    std::string text;
    std::vector<std::u16string> subkeys;
    registry.ListSubkeys(key, subkeys);
    std::sort(subkeys.begin(), subkeys.end());
    for (const std::u16string& subkey : subkeys) {
        platform::RegistryKey below{key.root,
                                    key.path.empty() ? subkey : key.path + u'\\' + subkey};
        const std::string path = zorel::ToUtf8(below.path);
        text += path + "\n";
        for (const std::u16string& name : valueNames) {
            platform::RegistryValue value;
            if (registry.ReadValue(below, name, value) == platform::win32err::kSuccess) {
                const auto* string = std::get_if<std::u16string>(&value);
                text += path + " : " + zorel::ToUtf8(name) + " = ";
                text += string != nullptr ? zorel::ToUtf8(*string)
                                          : std::to_string(std::get<std::uint32_t>(value));
                text += "\n";
            }
        }
        text += DumpRegistry(registry, below, valueNames);
    }
    return text;
}

}  // namespace support
