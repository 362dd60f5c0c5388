// Links, and what an entry is.
#include <windows.h>

#include "platform/files.h"
#include "platform/win32/call.h"
#include "platform/win32/wide.h"

namespace platform {

namespace {

// Whether a reparse point leads to another path. Others, such as deduplicated files, are files.
bool IsLink(std::u16string_view path) {
    const auto native = win32::NativePath(path);
    WIN32_FIND_DATAW data;
    const HANDLE find =
        native ? ::FindFirstFileW(win32::Wide(native->c_str()), &data) : INVALID_HANDLE_VALUE;
    if (find == INVALID_HANDLE_VALUE) {
        return true;
    }
    ::FindClose(find);
    return IsReparseTagNameSurrogate(data.dwReserved0);
}

}  // namespace

EEntryKind GetEntryKind(std::u16string_view path) {
    const std::uint32_t attributes = GetFileAttributesW(path);
    if (attributes == kInvalidAttributes) {
        return EEntryKind::None;
    }
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && IsLink(path)) {
        return EEntryKind::Other;
    }
    return (attributes & kAttributeDirectory) != 0 ? EEntryKind::Folder : EEntryKind::File;
}

bool LeadsElsewhere(std::u16string_view path) {
    const EEntryKind kind = GetEntryKind(path);
    if (kind != EEntryKind::File) {
        return kind == EEntryKind::Other;
    }
    const CFileHandle file(CreateFileW(path, kReadAttributes, kShareRead | kShareWrite,
                                       kOpenExisting, kAttributeNormal));
    BY_HANDLE_FILE_INFORMATION info{};
    return file && ::GetFileInformationByHandle(file.Get(), &info) && info.nNumberOfLinks > 1;
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
