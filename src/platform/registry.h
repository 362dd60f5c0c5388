// The system's registry: keys that hold subkeys and named values. Names are compared
// without regard to case, may hold anything but backslashes and have at most 255 code units.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace platform {

enum class ERegistryRoot { ClassesRoot, CurrentUser, LocalMachine, Users };

// A key below a root; the elements of the path are separated by single backslashes.
struct RegistryKey {
    ERegistryRoot root = ERegistryRoot::ClassesRoot;
    std::u16string path;
};

// REG_SZ and REG_DWORD, the two types that registration writes.
using RegistryValue = std::variant<std::u16string, std::uint32_t>;

// Whether a path names a key below its root: every element has 1 to 255 code units.
inline bool IsRegistryPath(std::u16string_view path) noexcept {
    constexpr std::size_t kMaxName = 255;
    for (;;) {
        const std::size_t end = std::min(path.find(u'\\'), path.size());
        if (end == 0 || end > kMaxName || path.substr(0, end).find(u'\0') < end) {
            return false;
        }
        if (end == path.size()) {
            return true;
        }
        path.remove_prefix(end + 1);
    }
}

// Every call returns a Win32 code, 0 for success; a missing key or value is error 2, a path
// with an empty element error 87. Calls throw std::bad_alloc only.
class IRegistry {
public:
    virtual ~IRegistry() = default;

    // Creates the key and its missing parents; an existing key is not changed.
    virtual std::uint32_t CreateKey(const RegistryKey& key) = 0;
    // Deletes the key with everything below it.
    virtual std::uint32_t DeleteTree(const RegistryKey& key) = 0;
    // In unspecified order.
    virtual std::uint32_t ListSubkeys(const RegistryKey& key,
                                      std::vector<std::u16string>& names) = 0;

    // The empty name is that of the key's default value. The key must exist.
    virtual std::uint32_t SetValue(const RegistryKey& key, std::u16string_view name,
                                   const RegistryValue& value) = 0;
    // A value of another type is error 13.
    virtual std::uint32_t ReadValue(const RegistryKey& key, std::u16string_view name,
                                    RegistryValue& value) = 0;
    virtual std::uint32_t DeleteValue(const RegistryKey& key, std::u16string_view name) = 0;
};

// The registry of the system. Windows only. Any thread may use it.
IRegistry& SystemRegistry() noexcept;

}  // namespace platform
