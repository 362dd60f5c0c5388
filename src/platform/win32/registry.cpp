#include "platform/registry.h"

#include <cstring>

#include "platform/errors.h"
#include "platform/unique_resource.h"
#include "platform/win32/wide.h"

namespace platform {

namespace {

using win32::Wide;

struct KeyTraits {
    using Value = HKEY;
    static Value Empty() noexcept { return nullptr; }
    static void Release(Value value) noexcept { ::RegCloseKey(value); }
};
using CKey = CUniqueResource<KeyTraits>;

HKEY RootOf(const RegistryKey& key) noexcept {
    switch (key.root) {
        case ERegistryRoot::CurrentUser:
            return HKEY_CURRENT_USER;
        case ERegistryRoot::LocalMachine:
            return HKEY_LOCAL_MACHINE;
        case ERegistryRoot::Users:
            return HKEY_USERS;
        default:
            return HKEY_CLASSES_ROOT;
    }
}

std::uint32_t Open(const RegistryKey& key, REGSAM access, CKey& opened) noexcept {
    if (!IsRegistryPath(key.path)) {
        return win32err::kInvalidParameter;
    }
    return static_cast<std::uint32_t>(
        ::RegOpenKeyExW(RootOf(key), Wide(key.path.c_str()), 0, access, opened.Put()));
}

// The bytes of a value. Reads again when another process has made the value longer.
std::uint32_t ReadBytes(HKEY key, const wchar_t* name, DWORD& type, std::u16string& bytes) {
    DWORD size = 0;
    LSTATUS status = ::RegQueryValueExW(key, name, nullptr, &type, nullptr, &size);
    do {
        bytes.resize((size + 1) / sizeof(char16_t));
        if (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
            status = ::RegQueryValueExW(key, name, nullptr, &type,
                                        reinterpret_cast<BYTE*>(bytes.data()), &size);
        }
    } while (status == ERROR_MORE_DATA);
    bytes.resize(size / sizeof(char16_t));
    return static_cast<std::uint32_t>(status);
}

class CSystemRegistry final : public IRegistry {
public:
    std::uint32_t CreateKey(const RegistryKey& key) override {
        if (!IsRegistryPath(key.path)) {
            return win32err::kInvalidParameter;
        }
        CKey created;
        return static_cast<std::uint32_t>(::RegCreateKeyExW(RootOf(key), Wide(key.path.c_str()), 0,
                                                            nullptr, 0, KEY_WRITE, nullptr,
                                                            created.Put(), nullptr));
    }

    std::uint32_t DeleteTree(const RegistryKey& key) override {
        if (!IsRegistryPath(key.path)) {
            return win32err::kInvalidParameter;
        }
        return static_cast<std::uint32_t>(::RegDeleteTreeW(RootOf(key), Wide(key.path.c_str())));
    }

    std::uint32_t ListSubkeys(const RegistryKey& key, std::vector<std::u16string>& names) override {
        names.clear();
        CKey opened;
        auto code = Open(key, KEY_READ, opened);
        while (code == win32err::kSuccess) {
            wchar_t name[256];
            DWORD length = 256;
            code = static_cast<std::uint32_t>(
                ::RegEnumKeyExW(opened.Get(), static_cast<DWORD>(names.size()), name, &length,
                                nullptr, nullptr, nullptr, nullptr));
            if (code == win32err::kSuccess) {
                names.emplace_back(reinterpret_cast<const char16_t*>(name), length);
            }
        }
        return code == ERROR_NO_MORE_ITEMS ? win32err::kSuccess : code;
    }

    std::uint32_t SetValue(const RegistryKey& key, std::u16string_view name,
                           const RegistryValue& value) override {
        CKey opened;
        const auto code = Open(key, KEY_WRITE, opened);
        if (code != win32err::kSuccess) {
            return code;
        }
        const std::u16string valueName(name);
        const auto set = [&](DWORD type, const void* data, std::size_t size) {
            return static_cast<std::uint32_t>(
                ::RegSetValueExW(opened.Get(), Wide(valueName.c_str()), 0, type,
                                 static_cast<const BYTE*>(data), static_cast<DWORD>(size)));
        };
        if (const auto* text = std::get_if<std::u16string>(&value)) {
            return set(REG_SZ, text->c_str(), (text->size() + 1) * sizeof(char16_t));
        }
        return set(REG_DWORD, std::get_if<std::uint32_t>(&value), sizeof(std::uint32_t));
    }

    std::uint32_t ReadValue(const RegistryKey& key, std::u16string_view name,
                            RegistryValue& value) override {
        CKey opened;
        auto code = Open(key, KEY_READ, opened);
        if (code != win32err::kSuccess) {
            return code;
        }
        DWORD type = REG_NONE;
        std::u16string bytes;
        code = ReadBytes(opened.Get(), Wide(std::u16string(name).c_str()), type, bytes);
        if (code != win32err::kSuccess) {
            return code;
        }
        if (type == REG_SZ) {
            value = bytes.substr(0, bytes.find(u'\0'));
        } else if (type == REG_DWORD && bytes.size() * sizeof(char16_t) == sizeof(std::uint32_t)) {
            std::uint32_t number = 0;
            std::memcpy(&number, bytes.data(), sizeof(number));
            value = number;
        } else {
            return win32err::kInvalidData;
        }
        return win32err::kSuccess;
    }

    std::uint32_t DeleteValue(const RegistryKey& key, std::u16string_view name) override {
        CKey opened;
        const auto code = Open(key, KEY_WRITE, opened);
        return code != win32err::kSuccess ? code
                                          : static_cast<std::uint32_t>(::RegDeleteValueW(
                                                opened.Get(), Wide(std::u16string(name).c_str())));
    }
};

}  // namespace

IRegistry& SystemRegistry() noexcept {
    static CSystemRegistry registry;
    return registry;
}

}  // namespace platform
