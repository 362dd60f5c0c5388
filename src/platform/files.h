// Files and folders, under the names and with the contracts of the Win32 calls. Each call
// reports a failure by its result and sets the thread's last error (errors.h) to a Win32
// code. A success does not change the last error unless stated otherwise.
//
// Paths are UTF-16 and of any length that the system accepts. A leading \\?\ is accepted
// everywhere. On Linux both / and \ separate elements, \\?\UNC\x and \\x mean //x, and a
// drive letter ("C:" alone or before a separator) gives error 3, as does an empty path. A
// path with an embedded NUL gives error 123. On Windows every path is made absolute before the
// call, without "." and "..", unless it begins with \\?\; its length is not limited.
//
// Calls that take a path convert text and throw std::bad_alloc only.
//
// A call that a signal interrupts is continued. A transfer moves all requested bytes unless
// the end of the file or a failure comes first.
//
// A file or folder with the read-only attribute (on Linux: without any write permission, for
// the superuser too) cannot be opened for writing, replaced, overwritten by a copy or
// removed: error 5. Sharing does not apply to reading attributes or the entries of a folder.
// A file in use cannot be deleted or renamed (error 32) or replaced by a rename (error 5). On
// Linux a file is in use while a writer or a reader without sharing has it open; this is not
// checked for a file that the caller has no permission to read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/unique_resource.h"

namespace platform {

using FileHandle = void*;
inline const FileHandle kInvalidFileHandle = reinterpret_cast<void*>(std::intptr_t{-1});

// Access rights.
inline constexpr std::uint32_t kGenericRead = 0x80000000U;
inline constexpr std::uint32_t kGenericWrite = 0x40000000U;
inline constexpr std::uint32_t kReadAttributes = 0x80U;
inline constexpr std::uint32_t kWriteAttributes = 0x100U;
// Sharing.
inline constexpr std::uint32_t kShareRead = 1;
inline constexpr std::uint32_t kShareWrite = 2;
// Disposition.
inline constexpr std::uint32_t kCreateNew = 1;
inline constexpr std::uint32_t kCreateAlways = 2;
inline constexpr std::uint32_t kOpenExisting = 3;
inline constexpr std::uint32_t kOpenAlways = 4;
// Flags and attributes.
inline constexpr std::uint32_t kAttributeReadOnly = 0x1;
inline constexpr std::uint32_t kAttributeDirectory = 0x10;
inline constexpr std::uint32_t kAttributeArchive = 0x20;
inline constexpr std::uint32_t kAttributeNormal = 0x80;
inline constexpr std::uint32_t kFlagBackupSemantics = 0x02000000;
inline constexpr std::uint32_t kFlagNoFollow = 0x00200000;
inline constexpr std::uint32_t kInvalidAttributes = 0xFFFFFFFFU;

// Opens or creates a file; kInvalidFileHandle on failure.
//
// Codes: 2 missing file, 3 missing folder or drive letter, 5 no permission or a folder
// without kFlagBackupSemantics, 32 refused by sharing, 80 kCreateNew on an existing file,
// 87 unknown disposition, 123 bad name. A success of kCreateAlways or kOpenAlways sets the
// last error too: 183 when the file existed before, 0 when it is new.
//
// With kFlagNoFollow a link as last element is not followed: on Linux 1921, on Windows the link
// itself is opened. On Linux a file with several names is not opened for writing (1921).
//
// Sharing applies to all users of this library, in every process. An open for reading that
// shares reading allows other such opens; an open for writing allows no other open. Of two
// opens that exclude each other the second fails with 32 and changes nothing on the disk. An
// open for reading that also shares writing, and an open for kReadAttributes or
// kWriteAttributes only, excludes no other open and is excluded by none. kCreateAlways counts
// as writing and empties an existing file only after it has excluded the others. On Linux, on
// a file system without locks, no open excludes another.
FileHandle CreateFileW(std::u16string_view path, std::uint32_t access, std::uint32_t share,
                       std::uint32_t disposition, std::uint32_t flags);

// False when the system reports a failed write at the close. The handle is closed in every
// case.
bool CloseHandle(FileHandle handle) noexcept;

// A handle without the right that a call needs (read, write, write attributes) gives 5, a
// null or invalid one 6.

// Reads up to `length` bytes at the file position. At the end of the file: true with
// `transferred` 0.
bool ReadFile(FileHandle handle, void* buffer, std::size_t length,
              std::size_t& transferred) noexcept;

// Writes at the file position. After a failure `transferred` is the number of bytes written
// before it; 112 for a full disk.
bool WriteFile(FileHandle handle, const void* buffer, std::size_t length,
               std::size_t& transferred) noexcept;

enum class EMoveMethod { Begin, Current, End };

// Moves the file position; `newPosition` may be null. A position before the start of the
// file fails with 131; a position past the end is allowed.
bool SetFilePointerEx(FileHandle handle, std::int64_t distance, std::int64_t* newPosition,
                      EMoveMethod method) noexcept;
bool GetFileSizeEx(FileHandle handle, std::int64_t& size) noexcept;
// Cuts or extends the file at the file position.
bool SetEndOfFile(FileHandle handle) noexcept;
// Writes the file's content to the disk (and, on Linux, its entry in the folder).
bool FlushFileBuffers(FileHandle handle) noexcept;

// Times in ticks (times.h). A null pointer, and 0 for a time to set, leave that time
// unchanged. A time set on an open file stays: later writes through the same handle do not
// change it. -1 keeps the current time in this way, -2 lets writes change it again, lower
// values give 87. Linux cannot set a creation time; it reports the earliest of the file's
// times.
bool GetFileTime(FileHandle handle, std::int64_t* creation, std::int64_t* lastAccess,
                 std::int64_t* lastWrite) noexcept;
bool SetFileTime(FileHandle handle, const std::int64_t* creation, const std::int64_t* lastAccess,
                 const std::int64_t* lastWrite) noexcept;

// kInvalidAttributes on failure. On Linux a folder has 0x10, any other entry 0x20, and an
// entry without any write permission has 0x1 in addition.
std::uint32_t GetFileAttributesW(std::u16string_view path);
// On Linux only the read-only bit has an effect: setting it removes all write permissions,
// clearing it adds that of the owner.
bool SetFileAttributesW(std::u16string_view path, std::uint32_t attributes);

// The same text for all names that name one file: letters in one case where the file system
// ignores case (Windows), the name itself elsewhere.
std::u16string FoldFileName(std::u16string_view name);

enum class EEntryKind { None, File, Folder, Other };
// What the entry itself is: File is a regular file; a link, a pipe and a device are Other.
// Wildcards have no effect. None also when the path cannot be examined.
EEntryKind GetEntryKind(std::u16string_view path);
// Whether writing to the entry would change something that has another name or none: true for a
// link, a pipe, a device and a regular file with several names.
bool LeadsElsewhere(std::u16string_view path);
// The path that a link as last element leads to, through further links. The path itself when
// its last element is no link or its links form a loop; on Windows also when the target is
// missing.
std::u16string ResolveLink(std::u16string_view path);

// Whether `path` is the path of the open file. On Windows an open file keeps its path, and only
// the existence is checked.
bool NamesFile(std::u16string_view path, FileHandle handle);

struct FindData {
    std::uint32_t attributes = 0;
    std::int64_t creationTime = 0;  // ticks
    std::int64_t lastAccessTime = 0;
    std::int64_t lastWriteTime = 0;
    std::int64_t size = 0;  // bytes
    std::u16string name;
};

using FindHandle = void*;
inline const FindHandle kInvalidFindHandle = reinterpret_cast<void*>(std::intptr_t{-1});

// The first entry that matches `pattern`; * and ? are wildcards in its last element only.
// Elsewhere they are ordinary characters on Linux; on Windows they give error 123. Entries are
// in the order of their names' code units, but "." and ".." come first. "*.*" equals "*". A pattern
// without wildcards matches one entry. Letter case counts as it does for the file system. Error 2:
// nothing matches, or the pattern ends with a separator; error 3: the folder is missing.
//
// On Linux a link to a folder is reported as an entry that is not a folder, so that a walk of
// a tree does not leave the tree; letter case counts for wildcards. On Windows the root of a
// drive has neither "." nor "..", a pattern also matches short names, and a ? at the end of a
// name also matches no unit.
FindHandle FindFirstFileW(std::u16string_view pattern, FindData& data);
// False with last error 18 after the last entry.
bool FindNextFileW(FindHandle handle, FindData& data);
bool FindClose(FindHandle handle) noexcept;

// Whether `path` names an entry, a link without a target included; false with the codes of
// FindFirstFileW. On Linux * and ? are ordinary characters; on Windows, where no name contains
// them, they are wildcards.
bool EntryExists(std::u16string_view path);

bool CreateDirectoryW(std::u16string_view path);  // 183 when the name is taken
bool RemoveDirectoryW(std::u16string_view path);  // 145 not empty, 267 not a folder
bool DeleteFileW(std::u16string_view path);       // 5 for a folder, 32 in use
// Copies content, the read-only attribute and the last-write time. Overwrites the target
// unless `failIfExists` (80). The source may be open for writing; the target must not be open
// (32) or be the source itself (32). A failed copy removes a target that it created. A new
// target has the source's permissions.
bool CopyFileW(std::u16string_view source, std::u16string_view target, bool failIfExists);

inline constexpr std::uint32_t kMoveReplaceExisting = 1;
inline constexpr std::uint32_t kMoveCopyAllowed = 2;
inline constexpr std::uint32_t kMoveWriteThrough = 8;
// A file in use is not moved (32). An existing target gives 183 without kMoveReplaceExisting;
// with it the replacement is atomic on one volume, and a folder, a read-only file and a file
// in use are not replaced (5). A move to another volume gives 17 unless the source is a file
// and kMoveCopyAllowed is set. With kMoveWriteThrough the move is on the disk on return.
bool MoveFileExW(std::u16string_view source, std::u16string_view target, std::uint32_t flags);

// Handles that close themselves.
struct FileHandleTraits {
    using Value = FileHandle;
    static Value Empty() noexcept { return kInvalidFileHandle; }
    static void Release(Value value) noexcept { CloseHandle(value); }
};
using CFileHandle = CUniqueResource<FileHandleTraits>;

struct FindHandleTraits {
    using Value = FindHandle;
    static Value Empty() noexcept { return kInvalidFindHandle; }
    static void Release(Value value) noexcept { FindClose(value); }
};
using CFindHandle = CUniqueResource<FindHandleTraits>;

}  // namespace platform
