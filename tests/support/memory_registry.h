// A registry in memory for tests. Any call that changes it can be made to fail.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelText.h"
#include "platform/errors.h"
#include "platform/registry.h"

namespace support {

class CMemoryRegistry final : public platform::IRegistry {
public:
    static constexpr std::uint32_t kRefusal = platform::win32err::kAccessDenied;

    // The change with this number, from 0, and all changes after it are refused; -1: none.
    void RefuseFrom(int change) { m_changesLeft = change; }

    std::uint32_t CreateKey(const platform::RegistryKey& key) override {
        return Change([&] {
            for (std::size_t start = 0, end = 0; end < key.path.size(); start = end + 1) {
                end = std::min(key.path.find(u'\\', start), key.path.size());
                KeysOf(key).try_emplace(Fold(key.path.substr(0, end)),
                                        Key{key.path.substr(start, end - start), {}});
            }
            return platform::win32err::kSuccess;
        });
    }
    std::uint32_t DeleteTree(const platform::RegistryKey& key) override {
        return Change([&] {
            const std::u16string path = Fold(key.path);
            const auto isInside = [&](const auto& entry) {
                return entry.first == path || entry.first.starts_with(path + u'\\');
            };
            return ResultOf(std::erase_if(KeysOf(key), isInside) != 0);
        });
    }
    std::uint32_t ListSubkeys(const platform::RegistryKey& key,
                              std::vector<std::u16string>& names) override {
        const std::u16string parent = Fold(key.path) + (key.path.empty() ? u"" : u"\\");
        names.clear();
        for (const auto& [path, content] : KeysOf(key)) {
            if (path.size() == parent.size() + content.name.size() && path.starts_with(parent)) {
                names.push_back(content.name);
            }
        }
        return ResultOf(key.path.empty() || KeysOf(key).contains(Fold(key.path)));
    }
    std::uint32_t SetValue(const platform::RegistryKey& key, std::u16string_view name,
                           const platform::RegistryValue& value) override {
        return Change([&] {
            const auto found = KeysOf(key).find(Fold(key.path));
            if (found != KeysOf(key).end()) {
                found->second.values[Fold(name)] = value;
            }
            return ResultOf(found != KeysOf(key).end());
        });
    }
    std::uint32_t ReadValue(const platform::RegistryKey& key, std::u16string_view name,
                            platform::RegistryValue& value) override {
        const auto found = KeysOf(key).find(Fold(key.path));
        if (found == KeysOf(key).end() || !found->second.values.contains(Fold(name))) {
            return ResultOf(false);
        }
        value = found->second.values[Fold(name)];
        return ResultOf(true);
    }
    std::uint32_t DeleteValue(const platform::RegistryKey& key, std::u16string_view name) override {
        return Change([&] {
            const auto found = KeysOf(key).find(Fold(key.path));
            return ResultOf(found != KeysOf(key).end() && found->second.values.erase(Fold(name)));
        });
    }

private:
    struct Key {
        std::u16string name;  // the last element of its path, as first written
        std::map<std::u16string, platform::RegistryValue> values;
    };
    using Keys = std::map<std::u16string, Key>;  // by folded path

    static std::u16string Fold(std::u16string_view text) {
        std::u16string folded;
        std::transform(text.begin(), text.end(), std::back_inserter(folded), [](char16_t unit) {
            return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit | 0x20) : unit;
        });
        return folded;
    }
    static std::uint32_t ResultOf(bool found) {
        return found ? platform::win32err::kSuccess : platform::win32err::kFileNotFound;
    }
    template <class Action>
    std::uint32_t Change(Action action) {
        const bool refused = m_changesLeft == 0 || (m_changesLeft > 0 && m_changesLeft-- == 0);
        return refused ? kRefusal : action();
    }
    Keys& KeysOf(const platform::RegistryKey& key) {
        return m_keys[static_cast<std::size_t>(key.root)];
    }

    int m_changesLeft = -1;
    std::array<Keys, 4> m_keys;  // by root
};

// The keys below `key`, a line for each key and each of the named values: "path" and
// "path : name = value".
inline std::string DumpRegistry(platform::IRegistry& registry, const platform::RegistryKey& key,
                                const std::vector<std::u16string>& valueNames) {
    std::string text;
    std::vector<std::u16string> subkeys;
    registry.ListSubkeys(key, subkeys);
    std::sort(subkeys.begin(), subkeys.end());
    for (const std::u16string& subkey : subkeys) {
        const platform::RegistryKey below{key.root,
                                          key.path + (key.path.empty() ? u"" : u"\\") + subkey};
        const std::string path = zorel::ToUtf8(below.path);
        text += path + "\n";
        for (const std::u16string& name : valueNames) {
            platform::RegistryValue value;
            if (registry.ReadValue(below, name, value) == platform::win32err::kSuccess) {
                const auto* string = std::get_if<std::u16string>(&value);
                text += path + " : " + zorel::ToUtf8(name) + " = " +
                        (string != nullptr ? zorel::ToUtf8(*string)
                                           : std::to_string(std::get<std::uint32_t>(value))) +
                        "\n";
            }
        }
        text += DumpRegistry(registry, below, valueNames);
    }
    return text;
}

}  // namespace support
