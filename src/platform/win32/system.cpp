#include "platform/system.h"

#include <algorithm>
#include <limits>
#include <new>
#include <vector>

#include "platform/errors.h"
#include "platform/win32/call.h"
#include "platform/win32/wide.h"

namespace platform {

using win32::Fail;
using win32::FetchText;
using win32::Succeeds;
using win32::Wide;

namespace {

struct ProcessHandleTraits {
    using Value = HANDLE;
    static Value Empty() noexcept { return nullptr; }
    static void Release(Value value) noexcept { ::CloseHandle(value); }
};
using CProcessHandle = CUniqueResource<ProcessHandleTraits>;

// The system's text conversions take lengths as int.
int CountOf(std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throw std::bad_alloc();
    }
    return static_cast<int>(size);
}

FileVersion VersionOf(const VS_FIXEDFILEINFO& info) {
    return {HIWORD(info.dwFileVersionMS), LOWORD(info.dwFileVersionMS),
            HIWORD(info.dwFileVersionLS), LOWORD(info.dwFileVersionLS)};
}

}  // namespace

std::string WideToNarrow(std::u16string_view text) {
    const int units = CountOf(text.size());
    std::string narrow;
    Succeeds([&] {
        const auto convert = [&](char* target, int size) {
            return ::WideCharToMultiByte(CP_THREAD_ACP, 0, Wide(text.data()), units, target, size,
                                         nullptr, nullptr);
        };
        narrow.resize(static_cast<std::size_t>(convert(nullptr, 0)));
        convert(narrow.data(), CountOf(narrow.size()));
        return true;
    });
    return narrow;
}

std::u16string NarrowToWide(std::string_view text) {
    const int bytes = CountOf(text.size());
    std::u16string wide;
    Succeeds([&] {
        const auto convert = [&](wchar_t* target, int size) {
            return ::MultiByteToWideChar(CP_THREAD_ACP, 0, text.data(), bytes, target, size);
        };
        wide.resize(static_cast<std::size_t>(convert(nullptr, 0)));
        convert(Wide(wide.data()), CountOf(wide.size()));
        return true;
    });
    return wide;
}

ModuleHandle OwnModule() noexcept {
    static const char kAnchor = 0;
    constexpr DWORD kFlags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE module = nullptr;
    Succeeds([&] {
        // With GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS the parameter is an address.
        return ::GetModuleHandleExW(kFlags, reinterpret_cast<const wchar_t*>(&kAnchor), &module);
    });
    return module;
}

std::uint32_t GetModuleFileNameW(ModuleHandle module, char16_t* buffer,
                                 std::uint32_t size) noexcept {
    DWORD stored = 0;
    if (!Succeeds([&] {
            stored = ::GetModuleFileNameW(static_cast<HMODULE>(module), Wide(buffer), size);
            return stored > 0 && stored < size;
        }) &&
        stored > 0) {
        buffer[size - 1] = u'\0';  // old systems do not terminate a path that they cut
    }
    return stored;
}

bool GetTempPathW(std::u16string& folder) {
    return FetchText(folder,
                     [](wchar_t* buffer, DWORD size) { return ::GetTempPathW(size, buffer); });
}

bool GetEnvironmentVariableW(std::u16string_view name, std::u16string& value) {
    const std::u16string terminated(name);
    if (terminated.find(u'\0') != std::u16string::npos) {
        return Fail(win32err::kEnvVarNotFound);
    }
    return FetchText(value, [&](wchar_t* buffer, DWORD size) {
        return ::GetEnvironmentVariableW(Wide(terminated.c_str()), buffer, size);
    });
}

bool StartProgram(std::u16string_view program, std::u16string_view arguments) {
    const auto native = win32::NativePath(program);
    if (!native) {
        return false;
    }
    std::u16string line = u'"' + *native + u"\" ";
    line.append(arguments);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    const bool done = Succeeds([&] {
        return ::CreateProcessW(Wide(native->c_str()), Wide(line.data()), nullptr, nullptr, FALSE,
                                0, nullptr, nullptr, &startup, &started);
    });
    const CProcessHandle process(started.hProcess);
    const CProcessHandle thread(started.hThread);
    return done;
}

EVersionStep ReadFileVersion(std::u16string_view path, FileVersion& version) {
    const auto native = win32::NativePath(path);
    DWORD size = 0;
    if (!native || !Succeeds([&] {
            return (size = ::GetFileVersionInfoSizeW(Wide(native->c_str()), nullptr)) != 0;
        })) {
        return EVersionStep::Size;
    }
    std::vector<char> data(size);
    if (!Succeeds(
            [&] { return ::GetFileVersionInfoW(Wide(native->c_str()), 0, size, data.data()); })) {
        return EVersionStep::Data;
    }
    void* root = nullptr;
    UINT length = 0;
    if (!Succeeds([&] { return ::VerQueryValueW(data.data(), L"\\", &root, &length); }) ||
        length < sizeof(VS_FIXEDFILEINFO)) {
        return EVersionStep::Root;
    }
    version = VersionOf(*static_cast<const VS_FIXEDFILEINFO*>(root));
    return EVersionStep::Done;
}

}  // namespace platform
