// Entries of folders: attributes, creating, removing, copying, moving.
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/win32/call.h"
#include "platform/win32/wide.h"

namespace platform {

using win32::Succeeds;
using win32::Wide;

namespace {

// Makes a call on one path.
template <class Call>
bool OnPath(std::u16string_view path, Call call) {
    const auto native = win32::NativePath(path);
    return native && Succeeds([&] { return call(Wide(native->c_str())); });
}

// Makes a call on two paths.
template <class Call>
bool OnPaths(std::u16string_view source, std::u16string_view target, Call call) {
    const auto to = win32::NativePath(target);
    return to && OnPath(source, [&](const wchar_t* from) { return call(from, Wide(to->c_str())); });
}

}  // namespace

std::u16string FoldFileName(std::u16string_view name) {
    std::u16string folded(name);
    ::CharUpperBuffW(Wide(folded.data()), static_cast<DWORD>(folded.size()));
    return folded;
}

std::uint32_t GetFileAttributesW(std::u16string_view path) {
    DWORD attributes = kInvalidAttributes;
    OnPath(path, [&](const wchar_t* native) {
        attributes = ::GetFileAttributesW(native);
        return attributes != kInvalidAttributes;
    });
    return attributes;
}

bool SetFileAttributesW(std::u16string_view path, std::uint32_t attributes) {
    return OnPath(path,
                  [&](const wchar_t* native) { return ::SetFileAttributesW(native, attributes); });
}

bool CreateDirectoryW(std::u16string_view path) {
    return OnPath(path, [](const wchar_t* native) { return ::CreateDirectoryW(native, nullptr); });
}

bool RemoveDirectoryW(std::u16string_view path) {
    return OnPath(path, ::RemoveDirectoryW);
}

bool DeleteFileW(std::u16string_view path) {
    return OnPath(path, ::DeleteFileW);
}

bool CopyFileW(std::u16string_view source, std::u16string_view target, bool failIfExists) {
    return OnPaths(source, target, [&](const wchar_t* from, const wchar_t* to) {
        return ::CopyFileW(from, to, failIfExists ? TRUE : FALSE);
    });
}

bool MoveFileExW(std::u16string_view source, std::u16string_view target, std::uint32_t flags) {
    static_assert(kMoveReplaceExisting == MOVEFILE_REPLACE_EXISTING &&
                  kMoveCopyAllowed == MOVEFILE_COPY_ALLOWED &&
                  kMoveWriteThrough == MOVEFILE_WRITE_THROUGH);
    return OnPaths(source, target, [&](const wchar_t* from, const wchar_t* to) {
        return ::MoveFileExW(from, to, flags);
    });
}

}  // namespace platform
