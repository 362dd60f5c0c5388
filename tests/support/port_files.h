// Short forms of the file calls of src/platform.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/errors.h"
#include "platform/files.h"
#include "support/target.h"

namespace support {

// The last error after a failed call, 0 after a success.
inline std::uint32_t CodeOf(bool succeeded) {
    return succeeded ? 0 : platform::GetLastError();
}
inline std::uint32_t CodeOf(const platform::CFileHandle& handle) {
    return CodeOf(static_cast<bool>(handle));
}

inline platform::CFileHandle OpenToRead(std::u16string_view path) {
    return platform::CFileHandle(platform::CreateFileW(
        path, platform::kGenericRead, platform::kShareRead | platform::kShareWrite,
        platform::kOpenExisting, platform::kAttributeNormal));
}

inline platform::CFileHandle OpenToWrite(std::u16string_view path,
                                         std::uint32_t disposition = platform::kCreateAlways) {
    return platform::CFileHandle(platform::CreateFileW(path, platform::kGenericWrite,
                                                       platform::kShareRead, disposition,
                                                       platform::kAttributeNormal));
}

inline bool Write(const platform::CFileHandle& handle, std::string_view content) {
    std::size_t written = 0;
    return platform::WriteFile(handle.Get(), content.data(), content.size(), written) &&
           written == content.size();
}

inline bool WriteWhole(std::u16string_view path, std::string_view content) {
    const platform::CFileHandle handle = OpenToWrite(path);
    return handle && Write(handle, content);
}

// "<none>" when the file cannot be read.
inline std::string ReadWhole(std::u16string_view path) {
    const platform::CFileHandle handle = OpenToRead(path);
    std::int64_t size = 0;
    if (!handle || !platform::GetFileSizeEx(handle.Get(), size)) {
        return "<none>";
    }
    std::string content(static_cast<std::size_t>(size), '\0');
    std::size_t count = 0;
    const bool read = platform::ReadFile(handle.Get(), content.data(), content.size(), count);
    return read && count == content.size() ? content : "<none>";
}

// Whether the access time and the write time are `ticks`, the latter where it lasts.
inline bool HasTimes(std::u16string_view path, std::int64_t ticks) {
    std::int64_t access = 0;
    std::int64_t write = 0;
    return platform::GetFileTime(OpenToRead(path).Get(), nullptr, &access, &write) &&
           access == ticks && (write == ticks || !KeepsSetTimes());
}

}  // namespace support
