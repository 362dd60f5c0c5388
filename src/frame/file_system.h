// Paths, folders and files for the engines. Every function that reaches the file system
// takes its path in the long form (ToLongPath) and throws CWin32Exc or CExc with the
// paths as the caller gave them, unless a comment says otherwise. No state: any thread
// may call them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/system.h"

namespace frame {

// Texts only; nothing here touches the file system.

// Puts \\?\ (or \\?\UNC\ in place of two leading backslashes) in front, unless it is there.
std::u16string ToLongPath(std::u16string_view path);

struct SplitText {
    std::u16string_view head;  // folder or base name
    std::u16string_view tail;  // name or extension
};
// At the last backslash; only without one, at the last slash. No separator: no folder.
SplitText SplitPath(std::u16string_view path) noexcept;
// At the last dot; without one the extension is empty.
SplitText SplitExtension(std::u16string_view name) noexcept;
// Without one final separator.
std::u16string_view StripTrailingSeparator(std::u16string_view path) noexcept;
// A backslash before every part but the first, even before an empty one.
std::u16string JoinPath(const std::vector<std::u16string_view>& parts);
std::u16string CombinePath(std::u16string_view a, std::u16string_view b);

// True for anything that the path finds: files, folders, wildcard matches.
bool FileExists(std::u16string_view path);
void ResetReadOnly(std::u16string_view path);
// Creates the folder and its missing ancestors. A failure carries one message for each
// level that waited for it.
void CreateFolder(std::u16string_view path);
// A missing file is no failure; a read-only one is deleted.
void DeleteFile(std::u16string_view path);
// Like DeleteFile, and the name does not come back after a power cut.
void DeleteFileDurably(std::u16string_view path);
// Overwrites the target.
void CopyFile(std::u16string_view source, std::u16string_view target, bool createTargetFolder);
// Throws what CopyFile throws, for a copy that is made in another way.
[[noreturn]] void ThrowNotCopied(std::u16string_view source, std::u16string_view target,
                                 std::uint32_t code);
// Copies to a name that must be free. The target appears under it only when it is whole
// and on the disk; until then it is written beside it, under the name of StagedPath.
void CopyFileDurably(std::u16string_view source, std::u16string_view target);
// Where a file is written that shall appear at `path` only when it is whole.
std::u16string StagedPath(std::u16string_view path);
// Messages show the long paths.
void MoveFile(std::u16string_view source, std::u16string_view target, bool replace);
// Copies files, then sub-folders. Its own message shows the long paths.
void CopyFolder(std::u16string_view source, std::u16string_view target);

struct FolderList {
    std::vector<std::u16string> folders;
    std::vector<std::u16string> files;
};
// What the pattern matches, without "." and ".."; nothing found is an empty list.
FolderList ListFolder(std::u16string_view pattern);
void RemoveFolder(std::u16string_view path);
std::u16string GetTempFolder();

// A null module is the program itself.
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
// Waits for the file to appear (a timeout is a failure), then for its writers to let it go
// (a timeout is none, kept on purpose).
void FileWaitCreation(std::u16string_view path, std::uint32_t seconds);

}  // namespace frame
