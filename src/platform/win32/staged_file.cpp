#include "platform/staged_file.h"

#include <utility>

#include "platform/errors.h"
#include "platform/win32/call.h"

namespace platform {

namespace {

bool FlushFile(std::u16string_view path) {
    const CFileHandle file(
        CreateFileW(path, kGenericWrite, kShareRead, kOpenExisting, kAttributeNormal));
    return file && FlushFileBuffers(file.Get());
}

// A read-only file cannot be opened to be flushed, so the attribute is removed in between.
bool FlushCopy(std::u16string_view path) {
    const std::uint32_t attributes = GetFileAttributesW(path);
    if (attributes == kInvalidAttributes || (attributes & kAttributeReadOnly) == 0) {
        return FlushFile(path);
    }
    return SetFileAttributesW(path, attributes & ~kAttributeReadOnly) && FlushFile(path) &&
           SetFileAttributesW(path, attributes);
}

// Removes a file of this module; keeps the last error.
void Remove(std::u16string_view path) {
    const std::uint32_t code = GetLastError();
    SetFileAttributesW(path, kAttributeNormal);
    DeleteFileW(path);
    SetLastError(code);
}

bool Publish(std::u16string_view temporary, std::u16string_view target) {
    if (MoveFileExW(temporary, target, kMoveWriteThrough)) {
        return true;
    }
    Remove(temporary);
    return false;
}

}  // namespace

StagedFile CreateStagedFile(std::u16string_view temporary) {
    StagedFile file;
    file.handle.Reset(
        CreateFileW(temporary, kGenericWrite, kShareRead, kCreateNew, kAttributeNormal));
    file.temporary = file.handle ? temporary : std::u16string_view();
    return file;
}

bool PublishStagedFile(StagedFile& file, std::u16string_view target) {
    file.handle.Reset();
    return Publish(std::exchange(file.temporary, {}), target);
}

void DiscardStagedFile(StagedFile& file) {
    file.handle.Reset();
    if (!file.temporary.empty()) {
        Remove(std::exchange(file.temporary, {}));
    }
}

bool CopyFileDurably(std::u16string_view source, std::u16string_view temporary,
                     std::u16string_view target) {
    if (!CopyFileW(source, temporary, true)) {
        return false;
    }
    if (!FlushCopy(temporary)) {
        Remove(temporary);
        return false;
    }
    return Publish(temporary, target);
}

// The system can write a rename through to the disk, but not a deletion.
bool DeleteFileDurably(std::u16string_view path, std::u16string_view temporary) {
    const std::uint32_t attributes = GetFileAttributesW(path);
    if (attributes != kInvalidAttributes && (attributes & kAttributeDirectory) != 0) {
        return win32::Fail(win32err::kAccessDenied);
    }
    if (!MoveFileExW(path, temporary, kMoveWriteThrough)) {
        return DeleteFileW(path);
    }
    if (DeleteFileW(temporary)) {
        return true;
    }
    const std::uint32_t code = GetLastError();
    MoveFileExW(temporary, path, kMoveWriteThrough);
    return win32::Fail(code);
}

}  // namespace platform
