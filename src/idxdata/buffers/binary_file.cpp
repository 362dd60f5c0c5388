#include "idxdata/buffers/binary_file.h"

#include <chrono>
#include <thread>
#include <utility>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/file_system.h"
#include "platform/errors.h"
#include "platform/staged_file.h"

namespace idxdata {

namespace {

using frame::CWin32Exc;
using frame::UInt64ToString;

constexpr std::uint32_t kLastError = CWin32Exc::kLastError;
constexpr int kOpenAttempts = 10;
constexpr std::chrono::milliseconds kOpenPause{100};
// Read-only, hidden, system, archive, normal, temporary, offline, not content-indexed.
constexpr std::uint32_t kSettableAttributes = 0x31A7;

std::uint32_t AccessOf(EFileAccess access) {
    const bool write = access == EFileAccess::ReadWrite;
    return platform::kGenericRead | (write ? platform::kGenericWrite : 0);
}

[[noreturn]] void ThrowNotWritten(std::u16string_view path, std::uint64_t length) {
    throw CWin32Exc(u"Failed to write [%1] bytes to the file [%2].", {UInt64ToString(length), path},
                    kLastError);
}

platform::CFileHandle OpenWithRetry(std::u16string_view path, std::uint32_t access,
                                    std::uint32_t disposition, std::uint32_t flags) {
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        platform::CFileHandle handle(
            platform::CreateFileW(path, access, platform::kShareRead, disposition, flags));
        const std::uint32_t code = platform::GetLastError();
        if (handle || code != platform::win32err::kSharingViolation) {
            return handle;
        }
        std::this_thread::sleep_for(kOpenPause);
        platform::SetLastError(code);
    }
    return {};
}

platform::CFileHandle OpenForTimes(std::u16string_view path, std::uint32_t access) {
    platform::CFileHandle handle(
        platform::CreateFileW(path, access, platform::kShareRead | platform::kShareWrite,
                              platform::kOpenExisting, platform::kFlagBackupSemantics));
    if (!handle) {
        CBinaryFile::ThrowNotOpened(path, kLastError);
    }
    return handle;
}

void GetTimesOfHandle(platform::FileHandle handle, std::u16string_view path, std::int64_t* creation,
                      std::int64_t* lastAccess, std::int64_t* lastWrite) {
    if (!platform::GetFileTime(handle, creation, lastAccess, lastWrite)) {
        throw CWin32Exc(u"Unable to get time for file '%1'.", {path}, kLastError);
    }
}

void SetTimesOfHandle(platform::FileHandle handle, std::u16string_view path,
                      const std::int64_t* creation, const std::int64_t* lastAccess,
                      const std::int64_t* lastWrite) {
    if (!platform::SetFileTime(handle, creation, lastAccess, lastWrite)) {
        throw CWin32Exc(u"Unable to set time for file '%1'.", {path}, kLastError);
    }
}

}  // namespace

void CBinaryFile::ThrowNotOpened(std::u16string_view path, std::uint32_t code) {
    throw CWin32Exc(u"Failed to create new binary file [%1].", {path}, code);
}

CBinaryFile::Holder CBinaryFile::OpenWith(std::u16string_view path, std::uint32_t access,
                                          std::uint32_t disposition, std::uint32_t flags) {
    platform::CFileHandle handle = OpenWithRetry(path, access, disposition, flags);
    if (!handle) {
        ThrowNotOpened(path, kLastError);
    }
    return Holder(new CBinaryFile(std::move(handle), path));
}

CBinaryFile::Holder CBinaryFile::Open(std::u16string_view path, EFileAccess access,
                                      bool directory) {
    return OpenWith(path, AccessOf(access), platform::kOpenExisting,
                    directory ? platform::kFlagBackupSemantics : platform::kAttributeNormal);
}

CBinaryFile::Holder CBinaryFile::OpenIfExists(std::u16string_view path, EFileAccess access,
                                              bool followLink) {
    try {
        return OpenWith(path, AccessOf(access), platform::kOpenExisting,
                        followLink ? platform::kAttributeNormal : platform::kFlagNoFollow);
    } catch (const CWin32Exc& exc) {
        if (exc.GetCode() == platform::win32err::kFileNotFound ||
            exc.GetCode() == platform::win32err::kPathNotFound) {
            return nullptr;
        }
        throw;
    }
}

CBinaryFile::Holder CBinaryFile::CreateNew(std::u16string_view path) {
    return OpenWith(path, platform::kGenericWrite, platform::kCreateAlways,
                    platform::kAttributeNormal);
}

CBinaryFile::Holder CBinaryFile::CreateStaged(std::u16string_view path) {
    platform::StagedFile staged = platform::CreateStagedFile(frame::StagedPath(path));
    if (!staged.handle) {
        ThrowNotOpened(path, kLastError);
    }
    Holder file(new CBinaryFile(std::move(staged.handle), path));
    file->m_temporary = std::move(staged.temporary);
    return file;
}

CBinaryFile::~CBinaryFile() {
    platform::StagedFile staged{std::move(m_handle), std::move(m_temporary)};
    platform::DiscardStagedFile(staged);
}

bool CBinaryFile::HasName() const {
    return platform::NamesFile(m_path, m_handle.Get());
}

std::uint64_t CBinaryFile::GetSize() const {
    std::int64_t size = 0;
    if (!platform::GetFileSizeEx(m_handle.Get(), size)) {
        throw CWin32Exc(u"The size of the file [%1] is unknown.", {m_path}, kLastError);
    }
    return static_cast<std::uint64_t>(size);
}

void CBinaryFile::SetSize(std::uint64_t size) {
    Seek(size);
    if (!platform::SetEndOfFile(m_handle.Get())) {
        throw CWin32Exc(u"Cannot set the new physical size %1 of the file [%2].",
                        {UInt64ToString(size), m_path}, kLastError);
    }
}

void CBinaryFile::Seek(std::uint64_t position) {
    if (!platform::SetFilePointerEx(m_handle.Get(), static_cast<std::int64_t>(position), nullptr,
                                    platform::EMoveMethod::Begin)) {
        throw CWin32Exc(u"Unable to seek to the position %1 of the file [%2]",
                        {UInt64ToString(position), m_path}, kLastError);
    }
}

void CBinaryFile::AppendZeros(std::size_t length) {
    Seek(GetSize() + length);
    if (!platform::SetEndOfFile(m_handle.Get())) {
        ThrowNotWritten(m_path, length);
    }
}

void CBinaryFile::SeekToBegin() {
    if (!platform::SetFilePointerEx(m_handle.Get(), 0, nullptr, platform::EMoveMethod::Begin)) {
        throw CWin32Exc(u"Unable to seek to the beginning of the file [%1]", {m_path}, kLastError);
    }
}

void CBinaryFile::SeekToEnd() {
    if (!platform::SetFilePointerEx(m_handle.Get(), 0, nullptr, platform::EMoveMethod::End)) {
        throw CWin32Exc(u"Unable to seek to the end of the file [%1]", {m_path}, kLastError);
    }
}

std::uint64_t CBinaryFile::GetPosition() const {
    std::int64_t position = 0;
    if (!platform::SetFilePointerEx(m_handle.Get(), 0, &position, platform::EMoveMethod::Current)) {
        throw CWin32Exc(u"Unable to retrieve current position of the file pointer ([%1]).",
                        {m_path}, kLastError);
    }
    return static_cast<std::uint64_t>(position);
}

std::size_t CBinaryFile::Read(void* buffer, std::size_t length) {
    std::size_t read = 0;
    if (!platform::ReadFile(m_handle.Get(), buffer, length, read)) {
        throw CWin32Exc(u"Failed to read %1 bytes from the file [%2].",
                        {UInt64ToString(length), m_path}, kLastError);
    }
    return read;
}

void CBinaryFile::ReadExact(void* buffer, std::size_t length) {
    const std::size_t read = Read(buffer, length);
    if (read < length) {
        throw CWin32Exc(
            u"Only %1 bytes were read from the file [%2] (requested %3 bytes).",
            {frame::Int64ToString(static_cast<std::int64_t>(read)), m_path, UInt64ToString(length)},
            kLastError);
    }
}

void CBinaryFile::ReadAt(std::uint64_t position, void* buffer, std::size_t length) {
    Seek(position);
    ReadExact(buffer, length);
}

void CBinaryFile::Write(const void* buffer, std::size_t length) {
    std::size_t written = 0;
    if (!platform::WriteFile(m_handle.Get(), buffer, length, written)) {
        ThrowNotWritten(m_path, length);
    }
    if (written < length) {
        throw CWin32Exc(u"Unable to write all the supplied data (%1 bytes) to the file [%2].",
                        {UInt64ToString(length), m_path}, kLastError);
    }
}

void CBinaryFile::WriteAt(std::uint64_t position, const void* buffer, std::size_t length) {
    Seek(position);
    Write(buffer, length);
}

void CBinaryFile::Flush() {
    if (!platform::FlushFileBuffers(m_handle.Get())) {
        throw CWin32Exc(u"Cannot bring the file [%1] to the disk.", {m_path}, kLastError);
    }
}

bool CBinaryFile::Publish() {
    platform::StagedFile staged{std::move(m_handle), std::exchange(m_temporary, {})};
    if (platform::PublishStagedFile(staged, m_path)) {
        return true;
    }
    const std::uint32_t code = platform::GetLastError();
    if (code != platform::win32err::kAlreadyExists) {
        ThrowNotOpened(m_path, code);
    }
    return false;
}

void CBinaryFile::GetTimes(std::int64_t* creation, std::int64_t* lastAccess,
                           std::int64_t* lastWrite) const {
    GetTimesOfHandle(m_handle.Get(), m_path, creation, lastAccess, lastWrite);
}

void CBinaryFile::SetTimes(const std::int64_t* creation, const std::int64_t* lastAccess,
                           const std::int64_t* lastWrite) {
    SetTimesOfHandle(m_handle.Get(), m_path, creation, lastAccess, lastWrite);
}

std::uint32_t CBinaryFile::GetAttributes() const {
    return GetAttributesOf(m_path);
}

void CBinaryFile::SetAttributes(std::uint32_t attributes, bool force) {
    SetAttributesOf(m_path, attributes, force);
}

void CBinaryFile::GetTimesOf(std::u16string_view path, std::int64_t* creation,
                             std::int64_t* lastAccess, std::int64_t* lastWrite) {
    const platform::CFileHandle handle = OpenForTimes(path, platform::kReadAttributes);
    GetTimesOfHandle(handle.Get(), path, creation, lastAccess, lastWrite);
}

void CBinaryFile::SetTimesOf(std::u16string_view path, const std::int64_t* creation,
                             const std::int64_t* lastAccess, const std::int64_t* lastWrite) {
    const platform::CFileHandle handle = OpenForTimes(path, platform::kWriteAttributes);
    SetTimesOfHandle(handle.Get(), path, creation, lastAccess, lastWrite);
}

std::uint32_t CBinaryFile::GetAttributesOf(std::u16string_view path) {
    const std::uint32_t attributes = platform::GetFileAttributesW(path);
    if (attributes == platform::kInvalidAttributes) {
        throw CWin32Exc(u"Unable to get attributes for file '%1'.", {path}, kLastError);
    }
    return attributes;
}

void CBinaryFile::SetAttributesOf(std::u16string_view path, std::uint32_t attributes, bool force) {
    if (!force && (attributes & ~kSettableAttributes) != 0) {
        throw CWin32Exc(u"Attributes [%1] cannot be set.",
                        {frame::IntToString(static_cast<std::int32_t>(attributes))}, kLastError);
    }
    if (!platform::SetFileAttributesW(path, attributes & kSettableAttributes)) {
        throw CWin32Exc(u"Unable to set attributes for file '%1'.", {path}, kLastError);
    }
}

}  // namespace idxdata
