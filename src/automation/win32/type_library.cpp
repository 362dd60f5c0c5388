#include "automation/win32/type_library.h"

#include <utility>

#include "platform/errors.h"
#include "platform/system.h"
#include "platform/win32/wide.h"

namespace automation::win32 {

HRESULT OwnModulePath(std::u16string& path) {
    constexpr std::size_t kMaxPath = 0x8000;  // code units
    for (path.resize(256); path.size() <= kMaxPath; path.resize(path.size() * 2)) {
        const std::uint32_t length = platform::GetModuleFileNameW(
            platform::OwnModule(), path.data(), static_cast<std::uint32_t>(path.size()));
        if (length == 0) {
            return HRESULT_FROM_WIN32(platform::GetLastError());
        }
        if (length < path.size()) {
            path.resize(length);
            return S_OK;
        }
    }
    return HRESULT_FROM_WIN32(platform::win32err::kFilenameTooLong);
}

HRESULT LoadTypeLibraryOf(const std::u16string& modulePath, CComPtr<ITypeLib>& library,
                          std::u16string* loadedPath) {
    std::u16string path = modulePath;
    HRESULT hr = ::LoadTypeLibEx(platform::win32::Wide(path.c_str()), REGKIND_NONE, library.Put());
    if (FAILED(hr)) {
        const std::size_t dot = path.find_last_of(u".\\");
        if (dot != std::u16string::npos && path[dot] == u'.') {
            path.resize(dot);
        }
        path += u".tlb";
        hr = ::LoadTypeLibEx(platform::win32::Wide(path.c_str()), REGKIND_NONE, library.Put());
    }
    if (loadedPath != nullptr) {
        *loadedPath = std::move(path);
    }
    return hr;
}

}  // namespace automation::win32
