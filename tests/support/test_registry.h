// The system's registry for tests: everything goes below one key of its own, and any call
// can be made to fail.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelText.h"
#include "platform/errors.h"
#include "platform/registry.h"

namespace support {

class CTestRegistry final : public platform::IRegistry {
public:
    static constexpr std::uint32_t kRefusal = platform::win32err::kAccessDenied;

    CTestRegistry() { DeleteAll(); }
    CTestRegistry(const CTestRegistry&) = delete;
    CTestRegistry& operator=(const CTestRegistry&) = delete;
    ~CTestRegistry() override { DeleteAll(); }

    // The call with this number, from 0, and all calls after it are refused.
    void RefuseFrom(int call) { m_callsLeft = call; }

    std::uint32_t CreateKey(const platform::RegistryKey& key) override {
        return Refuses() ? kRefusal : m_system.CreateKey(Moved(key));
    }
    std::uint32_t DeleteTree(const platform::RegistryKey& key) override {
        return Refuses() ? kRefusal : m_system.DeleteTree(Moved(key));
    }
    std::uint32_t ListSubkeys(const platform::RegistryKey& key,
                              std::vector<std::u16string>& names) override {
        return m_system.ListSubkeys(Moved(key), names);
    }
    std::uint32_t SetValue(const platform::RegistryKey& key, std::u16string_view name,
                           const platform::RegistryValue& value) override {
        return Refuses() ? kRefusal : m_system.SetValue(Moved(key), name, value);
    }
    std::uint32_t ReadValue(const platform::RegistryKey& key, std::u16string_view name,
                            platform::RegistryValue& value) override {
        return m_system.ReadValue(Moved(key), name, value);
    }
    std::uint32_t DeleteValue(const platform::RegistryKey& key, std::u16string_view name) override {
        return Refuses() ? kRefusal : m_system.DeleteValue(Moved(key), name);
    }

    // Everything below a root, a line for each key and each of the values asked for:
    // "path" and "path : name = value".
    std::string Dump(platform::ERegistryRoot root, const std::vector<std::u16string>& valueNames) {
        std::string text;
        DumpBelow({root, u""}, valueNames, text);
        return text;
    }

private:
    void DeleteAll() { m_system.DeleteTree({platform::ERegistryRoot::CurrentUser, Place()}); }
    bool Refuses() { return m_callsLeft == 0 || (m_callsLeft > 0 && m_callsLeft-- == 0); }

    static platform::RegistryKey Moved(const platform::RegistryKey& key) {
        std::u16string path = Place() + u"\\root";
        path += static_cast<char16_t>(u'0' + static_cast<int>(key.root));
        path += key.path.empty() ? u"" : u"\\" + key.path;
        return {platform::ERegistryRoot::CurrentUser, path};
    }

    void DumpBelow(const platform::RegistryKey& key, const std::vector<std::u16string>& valueNames,
                   std::string& text) {
        std::vector<std::u16string> names;
        ListSubkeys(key, names);
        std::sort(names.begin(), names.end());
        for (const std::u16string& name : names) {
            const platform::RegistryKey below{key.root,
                                              key.path + (key.path.empty() ? u"" : u"\\") + name};
            text += zorel::ToUtf8(below.path) + "\n";
            DumpValues(below, valueNames, text);
            DumpBelow(below, valueNames, text);
        }
    }
    void DumpValues(const platform::RegistryKey& key, const std::vector<std::u16string>& names,
                    std::string& text) {
        for (const std::u16string& name : names) {
            platform::RegistryValue value;
            if (ReadValue(key, name, value) != platform::win32err::kSuccess) {
                continue;
            }
            text += zorel::ToUtf8(key.path) + " : " + zorel::ToUtf8(name) + " = ";
            const auto* string = std::get_if<std::u16string>(&value);
            text += string != nullptr ? zorel::ToUtf8(*string)
                                      : std::to_string(std::get<std::uint32_t>(value));
            text += "\n";
        }
    }

    // A key of this process's own: test programs run side by side.
    static const std::u16string& Place() {
        static const std::u16string place = [] {
            const std::string number = std::to_string(std::random_device()());
            return u"Software\\ZorelOibIdxLibTests" + std::u16string(number.begin(), number.end());
        }();
        return place;
    }

    platform::IRegistry& m_system = platform::SystemRegistry();
    int m_callsLeft = -1;  // -1: never refuses
};

}  // namespace support
