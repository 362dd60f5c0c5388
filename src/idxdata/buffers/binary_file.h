// An open file with its path.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/files.h"

namespace idxdata {

enum class EFileAccess { Read, ReadWrite };

// Owns one file handle. Several holders can share the object; one of them uses it at a time.
// Every failure is a CWin32Exc that names the path. A failed call does not change the
// object, but a failed transfer can change the file position.
class CBinaryFile {
public:
    using Holder = std::shared_ptr<CBinaryFile>;

    // Files opened for reading can be read by others; a file opened for writing cannot be opened
    // by others. An open that fails with a sharing violation is tried ten times, 100 ms apart.

    static Holder Open(std::u16string_view path, EFileAccess access, bool directory = false);
    // Null when the file or its folder does not exist.
    static Holder OpenIfExists(std::u16string_view path, EFileAccess access,
                               bool followLink = true);
    // Creates or truncates; for writing only.
    static Holder CreateNew(std::u16string_view path);
    // Creates a file that gets the name `path` by Publish. Without Publish the last holder
    // deletes it. Messages name `path`. For writing only.
    static Holder CreateStaged(std::u16string_view path);

    // The same message for every way to open. Kept for compatibility.
    [[noreturn]] static void ThrowNotOpened(std::u16string_view path, std::uint32_t code);

    ~CBinaryFile();
    CBinaryFile(const CBinaryFile&) = delete;
    CBinaryFile& operator=(const CBinaryFile&) = delete;

    const std::u16string& GetPath() const noexcept { return m_path; }

    // False when the file was deleted, renamed or replaced since it was opened.
    bool HasName() const;

    std::uint64_t GetSize() const;
    void SetSize(std::uint64_t size);  // moves the file position to `size`
    void Seek(std::uint64_t position);
    // Extends the file by `length` zero bytes. A failure has the message of Write.
    void AppendZeros(std::size_t length);
    void SeekToBegin();
    void SeekToEnd();
    std::uint64_t GetPosition() const;
    void ReadExact(void* buffer, std::size_t length);
    // Returns the bytes read: fewer than `length` at the end of the file.
    std::size_t Read(void* buffer, std::size_t length);
    void ReadAt(std::uint64_t position, void* buffer, std::size_t length);
    void Write(const void* buffer, std::size_t length);
    void WriteAt(std::uint64_t position, const void* buffer, std::size_t length);
    // Writes content and name to the disk.
    void Flush();
    // For staged files after Flush: closes the file, gives it its name and writes the name to
    // the disk. False when an entry with that name exists now; the file is then deleted.
    bool Publish();

    // Times in ticks; a null pointer omits that time.
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
    // Fails for bits that cannot be set, or ignores them when `force` is set.
    static void SetAttributesOf(std::u16string_view path, std::uint32_t attributes, bool force);

private:
    CBinaryFile(platform::CFileHandle handle, std::u16string_view path)
        : m_handle(std::move(handle)), m_path(path) {}

    static Holder OpenWith(std::u16string_view path, std::uint32_t access,
                           std::uint32_t disposition, std::uint32_t flags);

    platform::CFileHandle m_handle;
    std::u16string m_path;
    std::u16string m_temporary;  // path of a staged file; empty: none
};

}  // namespace idxdata
