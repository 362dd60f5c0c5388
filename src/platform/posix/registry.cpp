#include "platform/registry.h"

#include <array>
#include <map>
#include <mutex>

#include "platform/errors.h"
#include "text/ascii_case.h"

namespace platform {

namespace {

// Orders the elements of paths, so that a key's subkeys follow it at once.
struct PathLess {
    using is_transparent = void;
    static int Rank(char16_t c) noexcept { return c == u'\\' ? -1 : text::ToLowerAscii(c); }
    bool operator()(std::u16string_view a, std::u16string_view b) const noexcept {
        return std::lexicographical_compare(
            a.begin(), a.end(), b.begin(), b.end(),
            [](char16_t x, char16_t y) { return Rank(x) < Rank(y); });
    }
};

struct KeyContent {
    std::map<std::u16string, RegistryValue, PathLess> values;
};
using KeyMap = std::map<std::u16string, KeyContent, PathLess>;

bool EqualPaths(std::u16string_view a, std::u16string_view b) noexcept {
    return !PathLess()(a, b) && !PathLess()(b, a);
}

bool IsBelow(std::u16string_view path, std::u16string_view parent) noexcept {
    return path.size() > parent.size() && path[parent.size()] == u'\\' &&
           EqualPaths(path.substr(0, parent.size()), parent);
}

class CMemoryRegistry final : public IRegistry {
public:
    std::uint32_t CreateKey(const RegistryKey& key) override {
        if (!IsRegistryPath(key.path)) {
            return win32err::kInvalidParameter;
        }
        const std::lock_guard guard(m_lock);
        const std::u16string_view path = key.path;
        for (std::size_t end = 0; end < path.size(); ++end) {
            end = std::min(path.find(u'\\', end), path.size());
            KeysOf(key).try_emplace(std::u16string(path.substr(0, end)));
        }
        return win32err::kSuccess;
    }

    std::uint32_t DeleteTree(const RegistryKey& key) override {
        return AtKey(key, [&](KeyMap::iterator found) {
            auto end = std::next(found);
            while (end != KeysOf(key).end() && IsBelow(end->first, key.path)) {
                ++end;
            }
            KeysOf(key).erase(found, end);
            return win32err::kSuccess;
        });
    }

    std::uint32_t ListSubkeys(const RegistryKey& key, std::vector<std::u16string>& names) override {
        names.clear();
        return AtKey(key, [&](KeyMap::iterator found) {
            const std::size_t start = key.path.size() + 1;
            for (++found; found != KeysOf(key).end() && IsBelow(found->first, key.path); ++found) {
                if (found->first.find(u'\\', start) == std::u16string::npos) {
                    names.push_back(found->first.substr(start));
                }
            }
            return win32err::kSuccess;
        });
    }

    std::uint32_t SetValue(const RegistryKey& key, std::u16string_view name,
                           const RegistryValue& value) override {
        return AtKey(key, [&](KeyMap::iterator found) {
            found->second.values.insert_or_assign(std::u16string(name), value);
            return win32err::kSuccess;
        });
    }

    std::uint32_t ReadValue(const RegistryKey& key, std::u16string_view name,
                            RegistryValue& value) override {
        return AtKey(key, [&](KeyMap::iterator found) {
            const auto held = found->second.values.find(name);
            if (held == found->second.values.end()) {
                return win32err::kFileNotFound;
            }
            value = held->second;
            return win32err::kSuccess;
        });
    }

    std::uint32_t DeleteValue(const RegistryKey& key, std::u16string_view name) override {
        return AtKey(key, [&](KeyMap::iterator found) {
            const auto held = found->second.values.find(name);
            if (held == found->second.values.end()) {
                return win32err::kFileNotFound;
            }
            found->second.values.erase(held);
            return win32err::kSuccess;
        });
    }

private:
    KeyMap& KeysOf(const RegistryKey& key) noexcept {
        return m_keys[static_cast<std::size_t>(key.root)];
    }

    template <class Action>
    std::uint32_t AtKey(const RegistryKey& key, Action action) {
        if (!IsRegistryPath(key.path)) {
            return win32err::kInvalidParameter;
        }
        const std::lock_guard guard(m_lock);
        const auto found = KeysOf(key).find(key.path);
        return found == KeysOf(key).end() ? win32err::kFileNotFound : action(found);
    }

    std::mutex m_lock;
    std::array<KeyMap, 4> m_keys;  // by root
};

}  // namespace

IRegistry& SystemRegistry() noexcept {
    static CMemoryRegistry registry;
    return registry;
}

}  // namespace platform
