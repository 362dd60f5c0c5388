// A registry in memory for tests. Any call that changes it can be made to fail.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
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

    // The step with this number, from 0, and all steps after it are refused; -1: none.
    void RefuseFrom(int step) { m_stepsLeft = step; }
    // Counts a step. Each change of the registry is one.
    bool Refuses() { return m_stepsLeft == 0 || (m_stepsLeft > 0 && m_stepsLeft-- == 0); }

    // "HKCR\key" for each key and "HKCR\key : name = value" for each value; #7 is the number 7.
    std::set<std::string> Entries() const {
        std::set<std::string> entries;
        for (const auto& [name, value] : m_entries) {
            entries.insert(zorel::ToUtf8(name + value));
        }
        return entries;
    }

    std::uint32_t CreateKey(const platform::RegistryKey& key) override {
        const std::u16string path = PathOf(key);
        return Change([&] {
            for (std::size_t end = path.find(u'\\'); end < path.size();) {
                end = std::min(path.find(u'\\', end + 1), path.size());
                m_entries.try_emplace(path.substr(0, end));
            }
            return true;
        });
    }
    std::uint32_t DeleteTree(const platform::RegistryKey& key) override {
        const std::u16string path = PathOf(key);
        return Change([&] {
            return std::erase_if(m_entries, [&](const auto& entry) {
                       return text::EqualsNoCase(entry.first, path) ||
                              text::StartsWithNoCase(entry.first, path + u'\\') ||
                              text::StartsWithNoCase(entry.first, path + u" : ");
                   }) != 0;
        });
    }
    std::uint32_t SetValue(const platform::RegistryKey& key, std::u16string_view name,
                           const platform::RegistryValue& value) override {
        const auto* string = std::get_if<std::u16string>(&value);
        const std::u16string content =
            string ? *string : zorel::ToUtf16("#" + std::to_string(std::get<1>(value)));
        return Change([&] {
            return m_entries.contains(PathOf(key)) &&
                   (m_entries.insert_or_assign(ValueOf(key, name), u" = " + content), true);
        });
    }
    std::uint32_t DeleteValue(const platform::RegistryKey& key, std::u16string_view name) override {
        return Change([&] { return m_entries.erase(ValueOf(key, name)) != 0; });
    }
    // Registration reads nothing.
    std::uint32_t ListSubkeys(const platform::RegistryKey&, std::vector<std::u16string>&) override {
        return kRefusal;
    }
    std::uint32_t ReadValue(const platform::RegistryKey&, std::u16string_view,
                            platform::RegistryValue&) override {
        return kRefusal;
    }

private:
    struct IsBefore {
        bool operator()(const std::u16string& a, const std::u16string& b) const {
            return text::CompareNoCase(a, b) < 0;
        }
    };

    static std::u16string PathOf(const platform::RegistryKey& key) {
        constexpr const char16_t* kRoots[] = {u"HKCR\\", u"HKCU\\", u"HKLM\\", u"HKU\\"};
        return kRoots[static_cast<std::size_t>(key.root)] + key.path;
    }
    static std::u16string ValueOf(const platform::RegistryKey& key, std::u16string_view name) {
        return PathOf(key) + u" : " + std::u16string(name);
    }
    template <class Action>
    std::uint32_t Change(Action action) {
        return Refuses() ? kRefusal : action() ? 0 : platform::win32err::kFileNotFound;
    }

    int m_stepsLeft = -1;
    std::map<std::u16string, std::u16string, IsBefore> m_entries;
};

}  // namespace support
