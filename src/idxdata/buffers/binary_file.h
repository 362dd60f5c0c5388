// An open file with the path it was opened from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace idxdata {

enum class EFileAccess { Read, ReadWrite };

// Owns one file handle; shared by its holders, used by one of them at a time. Every
// failure is a CWin32Exc that names the path. A failed call leaves the object as it was,
// but a failed transfer may have moved the file position.
class CBinaryFile {
public:
    using Holder = std::shared_ptr<CBinaryFile>;

    // All of these let others read and nobody write. An open refused by sharing is tried
    // ten times, 100 ms apart.

    static Holder Open(std::u16string_view path, EFileAccess access, bool directory = false);
    // Empty when the file or its folder is missing.
    static Holder OpenIfExists(std::u16string_view path, EFileAccess access);
    static Holder OpenOrCreate(std::u16string_view path);
    // Creates or truncates; for writing only.
    static Holder CreateNew(std::u16string_view path);
    // Creates a file that appears at `path` by Publish, and never when it is let go before.
    // Messages name `path` all the time.
    static Holder CreateStaged(std::u16string_view path);

    ~CBinaryFile();
    CBinaryFile(const CBinaryFile&) = delete;
    CBinaryFile& operator=(const CBinaryFile&) = delete;

    const std::u16string& GetPath() const noexcept { return m_path; }

    std::uint64_t GetSize() const;
    void SetSize(std::uint64_t size);  // the file position is `size` afterwards
    void Seek(std::uint64_t position);
    void SeekToBegin();
    void SeekToEnd();
    std::uint64_t GetPosition() const;
    void ReadExact(void* buffer, std::size_t length);
    // May read less.
    std::size_t Read(void* buffer, std::size_t length);
    void ReadAt(std::uint64_t position, void* buffer, std::size_t length);
    void Write(const void* buffer, std::size_t length);
    void WriteAt(std::uint64_t position, const void* buffer, std::size_t length);
    // Brings content and name to the disk.
    void Flush();
    // For staged files, flushed before: closes the file and gives it its name, on the disk
    // too. A file that has come there meanwhile is not replaced: a failure.
    void Publish();

    // Times in ticks; a null pointer leaves that time out.
    void GetTimes(std::int64_t* creation, std::int64_t* lastAccess, std::int64_t* lastWrite) const;
    void SetTimes(const std::int64_t* creation, const std::int64_t* lastAccess,
                  const std::int64_t* lastWrite);
    std::uint32_t GetAttributes() const;
    void SetAttributes(std::uint32_t attributes, bool force);

    // The same for a path, folders included.

    static void GetTimesOf(std::u16string_view path, std::int64_t* creation,
                           std::int64_t* lastAccess, std::int64_t* lastWrite);
    static void SetTimesOf(std::u16string_view path, const std::int64_t* creation,
                           const std::int64_t* lastAccess, const std::int64_t* lastWrite);
    static std::uint32_t GetAttributesOf(std::u16string_view path);
    // Bits that cannot be set are refused, or dropped when `force` is set.
    static void SetAttributesOf(std::u16string_view path, std::uint32_t attributes, bool force);

private:
    CBinaryFile(platform::CFileHandle handle, std::u16string_view path)
        : m_handle(std::move(handle)), m_path(path) {}

    static Holder OpenWith(std::u16string_view path, std::u16string_view shownPath,
                           std::uint32_t access, std::uint32_t disposition, std::uint32_t flags);

    platform::CFileHandle m_handle;
    std::u16string m_path;
    std::u16string m_staged;  // where the file lies until Publish; empty for others
};

}  // namespace idxdata
