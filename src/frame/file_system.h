// Paths, folders and files for the engines. Paths are passed to the platform layer as they
// are, which makes them absolute and long where the system needs it. Failures are CWin32Exc or
// CExc; their messages contain the paths as the caller passed them, unless a comment says
// otherwise. The functions have no state; any thread may call them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/system.h"

namespace frame {

// Path texts. These functions do not access the file system.

// The form of a path in some messages: adds the prefix \\?\ unless the path has it; in a path
// that begins with two backslashes, replaces these by \\?\UNC\.
std::u16string ToLongPath(std::u16string_view path);

struct SplitText {
    std::u16string_view head;  // folder or base name
    std::u16string_view tail;  // name or extension
};
// Splits at the last backslash, or at the last slash if there is no backslash. Without a
// separator the folder is empty.
SplitText SplitPath(std::u16string_view path) noexcept;
// The length of the path without its last element; either separator ends an element.
std::size_t FolderLength(std::u16string_view path) noexcept;
// Splits at the last dot; without a dot the extension is empty.
SplitText SplitExtension(std::u16string_view name) noexcept;
// Removes one separator from the end.
std::u16string_view StripTrailingSeparator(std::u16string_view path) noexcept;
// Writes a backslash before every part but the first, also before an empty part.
std::u16string JoinPath(const std::vector<std::u16string_view>& parts);
std::u16string CombinePath(std::u16string_view a, std::u16string_view b);
// The path of `name` in the folder of `path`; either separator ends a folder.
std::u16string SiblingPath(std::u16string_view path, std::u16string_view name);

// Whether the path names a file or a folder (platform::EntryExists).
bool FileExists(std::u16string_view path);
// Whether a search finds a file or a folder. The last element may contain wildcards.
bool AnyFileMatches(std::u16string_view pattern);
void ResetReadOnly(std::u16string_view path);
// Creates the folder and its missing ancestors. The exception has one message for each folder
// that was not created. A missing folder is refused if its path, or that of a missing ancestor,
// is a bare name or has two backslashes in a row: kept for compatibility.
void CreateFolder(std::u16string_view path);
// Deletes a read-only file too. A missing file is not a failure.
void DeleteFile(std::u16string_view path);
// Like DeleteFile; the deletion is on the disk when the function returns, and a power cut
// does not undo it.
void DeleteFileDurably(std::u16string_view path);
// Overwrites the target.
void CopyFile(std::u16string_view source, std::u16string_view target, bool createTargetFolder);
// Throws the exception of CopyFile, for a caller that copies in another way.
[[noreturn]] void ThrowNotCopied(std::u16string_view source, std::u16string_view target,
                                 std::uint32_t code);
// Copies to a path that must not exist and that never contains a part of the file: the copy
// appears there when it is on the disk.
void CopyFileDurably(std::u16string_view source, std::u16string_view target);
// A path in the folder of `path` for a file that is renamed to `path` when it is complete: a
// new one for each call, which other processes cannot guess, with a name of 38 units.
std::u16string StagedPath(std::u16string_view path);
// The messages contain the long paths.
void MoveFile(std::u16string_view source, std::u16string_view target, bool replace);
// Copies the files, then the sub-folders. The message of CopyFolder contains the long paths.
void CopyFolder(std::u16string_view source, std::u16string_view target);

struct FolderList {
    std::vector<std::u16string> folders;
    std::vector<std::u16string> files;
};
// The entries that match the pattern, without "." and ".."; two empty lists if there are none.
FolderList ListFolder(std::u16string_view pattern);
void RemoveFolder(std::u16string_view path);
std::u16string GetTempFolder();

// A null module is the program.
std::u16string GetModuleFilePath(platform::ModuleHandle module);
std::u16string GetModuleFolder(platform::ModuleHandle module);
std::u16string GetModuleFileName(platform::ModuleHandle module);
std::u16string GetOwnModuleFilePath();
std::u16string GetOwnModuleFolder();
std::u16string GetOwnModuleFileName();

void StartProcess(std::u16string_view program, std::u16string_view arguments);
std::u16string GetEnvironmentValue(std::u16string_view name);

void SetFilePointerTo(platform::FileHandle handle, std::int64_t position);
void ReadExactly(platform::FileHandle handle, void* buffer, std::uint32_t length);
platform::CFileHandle DuplicateHandleOf(platform::FileHandle handle);
// Waits until the file exists, then until it can be opened for writing. A timeout of the first
// wait is a failure; a timeout of the second is not. Kept for compatibility.
void FileWaitCreation(std::u16string_view path, std::uint32_t seconds);

}  // namespace frame
