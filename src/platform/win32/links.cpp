// Links, and what an entry is.
#include <windows.h>

#include "platform/files.h"
#include "platform/win32/call.h"
#include "platform/win32/wide.h"

namespace platform {

EEntryKind GetEntryKind(std::u16string_view path) {
    const std::uint32_t attributes = GetFileAttributesW(path);
    if (attributes == kInvalidAttributes) {
        return EEntryKind::None;
    }
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        return EEntryKind::Other;
    }
    return (attributes & kAttributeDirectory) != 0 ? EEntryKind::Folder : EEntryKind::File;
}

bool NamesFile(std::u16string_view path, FileHandle) {
    return GetEntryKind(path) != EEntryKind::None;
}

std::u16string ResolveLink(std::u16string_view path) {
    const CFileHandle file(GetEntryKind(path) != EEntryKind::Other
                               ? kInvalidFileHandle
                               : CreateFileW(path, kReadAttributes, kShareRead | kShareWrite,
                                             kOpenExisting, kFlagBackupSemantics));
    if (!file) {
        return std::u16string(path);
    }
    std::u16string target;
    const bool found = win32::FetchText(target, [&](wchar_t* buffer, DWORD size) {
        return ::GetFinalPathNameByHandleW(file.Get(), buffer, size, FILE_NAME_NORMALIZED);
    });
    return found ? target : std::u16string(path);
}

}  // namespace platform
