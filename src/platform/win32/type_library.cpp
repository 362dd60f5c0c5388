#include "platform/win32/type_library.h"

#include "platform/errors.h"
#include "platform/system.h"
#include "platform/win32/wide.h"

namespace platform::win32 {

HRESULT OwnModulePath(std::u16string& path) {
    // No path is longer than this, so a buffer that is always full ends the search.
    constexpr std::size_t kLongestPath = 0x8000;
    for (path.resize(256); path.size() <= kLongestPath; path.resize(path.size() * 2)) {
        const std::uint32_t length =
            GetModuleFileNameW(OwnModule(), path.data(), static_cast<std::uint32_t>(path.size()));
        if (length == 0) {
            return HRESULT_FROM_WIN32(platform::GetLastError());
        }
        if (length < path.size()) {
            path.resize(length);
            return S_OK;
        }
    }
    return HRESULT_FROM_WIN32(win32err::kFilenameTooLong);
}

HRESULT LoadTypeLibraryOf(const std::u16string& modulePath, CComPtr<ITypeLib>& library) {
    const HRESULT hr = ::LoadTypeLibEx(Wide(modulePath.c_str()), REGKIND_NONE, library.Put());
    if (SUCCEEDED(hr)) {
        return hr;
    }
    const std::size_t dot = modulePath.find_last_of(u".\\");
    const bool hasExtension = dot != std::u16string::npos && modulePath[dot] == u'.';
    const std::u16string path =
        modulePath.substr(0, hasExtension ? dot : modulePath.size()) + u".tlb";
    return ::LoadTypeLibEx(Wide(path.c_str()), REGKIND_NONE, library.Put());
}

}  // namespace platform::win32
