// The system's registry: keys that hold subkeys and named values. Names are compared
// without regard to case and may hold anything but backslashes; 255 code units at most.
#pragma once

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

// Every call returns a Win32 code, 0 for success; a missing key or value is error 2, a path
// with an empty element error 87. Calls may throw std::bad_alloc and nothing else.
class IRegistry {
public:
    virtual ~IRegistry() = default;

    // Creates the key and what is missing above it; one that exists is left alone.
    virtual std::uint32_t CreateKey(const RegistryKey& key) = 0;
    // Deletes the key with everything below it.
    virtual std::uint32_t DeleteTree(const RegistryKey& key) = 0;
    // In no given order.
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

// The registry of the system. Linux has none: there it is a store in the process's memory,
// empty at first. Any thread may use it.
IRegistry& SystemRegistry() noexcept;

// Whether a path names a key below its root: every element has 1 to 255 code units.
bool IsRegistryPath(std::u16string_view path) noexcept;

}  // namespace platform
