// Files and folders of the system, under the names and with the contracts of the Win32
// calls. Each call reports failure by its result and sets the thread's last error
// (errors.h) to a Win32 code; success leaves the last error alone unless said otherwise.
//
// Paths are UTF-16. A leading \\?\ is accepted everywhere. On Linux both / and \ separate
// elements, \\?\UNC\x and \\x mean //x, and a drive letter ("C:" alone or before a
// separator) names nothing: error 3, as for an empty path. A path with an embedded NUL is
// refused with error 123. Paths may have any length that the system takes.
//
// Calls that take a path convert text: they may throw std::bad_alloc and nothing else.
//
// Calls interrupted by a signal are taken up again. A transfer moves all bytes asked for
// unless the end of the file or a failure comes first.
//
// A file or folder with the read-only attribute (on Linux: one that nobody may write, for
// the superuser too) is not opened for writing, replaced, overwritten by a copy or removed:
// error 5. Reading the entries of a folder and its attributes takes no part in sharing. A
// file in use is neither deleted nor renamed (error 32) nor replaced by a renaming (error 5).
// On Linux only writers, and readers that share nothing, use a file in this sense; whoever has
// no right to read a file removes it unasked.
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
inline constexpr std::uint32_t kShareDelete = 4;
// Disposition.
inline constexpr std::uint32_t kCreateNew = 1;
inline constexpr std::uint32_t kCreateAlways = 2;
inline constexpr std::uint32_t kOpenExisting = 3;
inline constexpr std::uint32_t kOpenAlways = 4;
// Flags and attributes.
inline constexpr std::uint32_t kAttributeReadOnly = 0x1;
inline constexpr std::uint32_t kAttributeHidden = 0x2;
inline constexpr std::uint32_t kAttributeSystem = 0x4;
inline constexpr std::uint32_t kAttributeDirectory = 0x10;
inline constexpr std::uint32_t kAttributeArchive = 0x20;
inline constexpr std::uint32_t kAttributeNormal = 0x80;
inline constexpr std::uint32_t kFlagBackupSemantics = 0x02000000;
inline constexpr std::uint32_t kInvalidAttributes = 0xFFFFFFFFU;

// Opens or creates a file; kInvalidFileHandle on failure.
//
// Codes: 2 missing file, 3 missing folder or drive letter, 5 no permission or a folder
// without kFlagBackupSemantics, 32 refused by sharing, 80 kCreateNew on an existing file,
// 87 unknown disposition, 123 bad name. A success of kCreateAlways or kOpenAlways sets the
// last error too: 183 when the file was there before, 0 when it is new.
//
// Sharing holds between all users of this library, in every process: an open for reading
// (share read) admits further readers; an open for writing admits nobody else; the second
// of two that exclude each other fails with 32 and changes nothing on the disk. A reader
// that shares writing as well takes no part in it: it comes in beside a writer and lets one
// in. Nor do opens for kReadAttributes or kWriteAttributes only. kCreateAlways counts as
// writing; it empties an existing file only when nobody excludes it. On Linux a file system
// without such locks is used without them.
FileHandle CreateFileW(std::u16string_view path, std::uint32_t access, std::uint32_t share,
                       std::uint32_t disposition, std::uint32_t flags);

// False when the system reports a failed write only now; the handle is gone all the same.
bool CloseHandle(FileHandle handle) noexcept;

// A handle without the right that a call needs (read, write, write attributes) gives 5, a
// null or invalid one 6.

// Reads up to `length` bytes at the file position. At the end of the file: true with
// `transferred` 0.
bool ReadFile(FileHandle handle, void* buffer, std::size_t length,
              std::size_t& transferred) noexcept;

// Writes at the file position. On failure `transferred` tells how many bytes reached the
// file before it; 112 for a full disk.
bool WriteFile(FileHandle handle, const void* buffer, std::size_t length,
               std::size_t& transferred) noexcept;

enum class EMoveMethod { Begin, Current, End };

// Moves the file position; `newPosition` may be null. A position before the start of the
// file fails with 131. The handle position may lie past the end.
bool SetFilePointerEx(FileHandle handle, std::int64_t distance, std::int64_t* newPosition,
                      EMoveMethod method) noexcept;
bool GetFileSizeEx(FileHandle handle, std::int64_t& size) noexcept;
// Cuts or extends the file at the file position.
bool SetEndOfFile(FileHandle handle) noexcept;
// Brings the file's content to the disk (and, on Linux, the entry in its folder).
bool FlushFileBuffers(FileHandle handle) noexcept;

// Times as ticks (times.h); a null pointer, and 0 to set, leave that time alone. Times set
// on an open file stay: later writes through the same handle do not move them. -1 keeps the
// present time in that way, -2 lets it move again, lower values give 87. Linux has no
// creation time to set; it reads as the earliest time known of the file.
bool GetFileTime(FileHandle handle, std::int64_t* creation, std::int64_t* lastAccess,
                 std::int64_t* lastWrite) noexcept;
bool SetFileTime(FileHandle handle, const std::int64_t* creation, const std::int64_t* lastAccess,
                 const std::int64_t* lastWrite) noexcept;

// kInvalidAttributes on failure. On Linux a folder has 0x10, any other entry 0x20, and
// 0x1 stands beside it when nobody may write the entry.
std::uint32_t GetFileAttributesW(std::u16string_view path);
// On Linux only the read-only bit has an effect: setting it takes the right to write from
// everybody, clearing it gives it to the owner.
bool SetFileAttributesW(std::u16string_view path, std::uint32_t attributes);

// The same text for all names that the file system takes for one: letters in one case where
// their case does not count (Windows), the name itself elsewhere.
std::u16string FoldFileName(std::u16string_view name);

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

// The first entry that `pattern` names; * and ? are wildcards in its last element only
// (elsewhere: error 123). "*" in a folder gives "." and ".." first, and "*.*" equals "*";
// the other entries follow in the order of their names' code units. A pattern without
// wildcards gives that one entry. Letter case counts as it does for the file system. 2: nothing
// matches, or the pattern ends with a separator; 3: the folder is missing. On Linux a link
// to a folder is told as an entry that is no folder, so that walks of a tree do not leave it;
// letter case counts for wildcards. On Windows a drive's root has neither "." nor "..", a
// pattern may match a file's short name too, and ? stands for no unit at a name's end.
FindHandle FindFirstFileW(std::u16string_view pattern, FindData& data);
// False with last error 18 after the last entry.
bool FindNextFileW(FindHandle handle, FindData& data);
bool FindClose(FindHandle handle) noexcept;

bool CreateDirectoryW(std::u16string_view path);  // 183 when the name is taken
bool RemoveDirectoryW(std::u16string_view path);  // 145 not empty, 267 not a folder
bool DeleteFileW(std::u16string_view path);       // 5 for a folder, 32 in use
// Copies content, the read-only attribute and the last-write time; overwrites the target
// unless `failIfExists` (80). The source is read beside a writer of it, the target counts as
// opened for writing (32), and a file is not copied onto itself (32). A failed copy leaves
// no partial target that was not there before. A new target has the source's permissions.
bool CopyFileW(std::u16string_view source, std::u16string_view target, bool failIfExists);

inline constexpr std::uint32_t kMoveReplaceExisting = 1;
inline constexpr std::uint32_t kMoveCopyAllowed = 2;
inline constexpr std::uint32_t kMoveWriteThrough = 8;
// A file in use is not moved (32). Without kMoveReplaceExisting a taken name gives 183; with it
// the replacement is atomic on one volume, and neither a folder nor a read-only file nor one
// in use is replaced (5). Another volume
// gives 17 unless kMoveCopyAllowed and a file. kMoveWriteThrough: on return the move is on
// the disk.
bool MoveFileExW(std::u16string_view source, std::u16string_view target, std::uint32_t flags);

// Owners.
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
