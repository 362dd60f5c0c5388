#include "frame/file_system.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "platform/errors.h"
#include "platform/staged_file.h"
#include "text/ascii_case.h"

namespace frame {

namespace {

namespace win32err = platform::win32err;

constexpr std::u16string_view kSeparators = u"\\/";
constexpr std::u16string_view kLongPrefix = u"\\\\?\\";
constexpr std::u16string_view kLongNetworkPrefix = u"\\\\?\\UNC\\";
constexpr std::u16string_view kDeleteFailed = u"Cannot delete file [%1].";
constexpr std::u16string_view kCopyFailed =
    u"Cannot copy file. Source file: [%1]. Target file: [%2].";

SplitText SplitAt(std::u16string_view text, std::size_t pos) noexcept {
    return {text.substr(0, pos), text.substr(pos + 1)};
}

bool FolderExists(std::u16string_view path) {
    return AnyFileMatches(CombinePath(path, u"*"));
}

// Appends the missing ancestors of the only folder in `levels`, and removes the folder from
// `levels` if it exists.
void CollectMissingAncestors(std::vector<std::u16string_view>& levels) {
    const bool named = !levels.front().empty();
    for (;;) {
        const std::u16string_view path = StripTrailingSeparator(levels.back());
        // An empty path is the root of the file system only if it is the ancestor of a folder.
        if (named && FolderExists(path)) {
            levels.pop_back();
            return;
        }
        const std::size_t last = path.find_last_of(kSeparators);
        const bool networkRoot = last != std::u16string_view::npos && last > 0 &&
                                 path[last] == u'\\' && path[last - 1] == u'\\';
        if (last == std::u16string_view::npos || networkRoot) {
            throw CExc(u"Invalid folder path: [%1].", {path}, kInvalidArg);
        }
        levels.push_back(path.substr(0, last));
    }
}

void MakeFolder(std::u16string_view path) {
    path = StripTrailingSeparator(path);
    if (!platform::CreateDirectoryW(path) && platform::GetLastError() != win32err::kAlreadyExists) {
        throw CWin32Exc(u"CreateDirectoryW(%1) failed.", {ToLongPath(path)}, CWin32Exc::kLastError);
    }
}

// Deletes the file by `remove`(path) without adding a context message. A missing file is not a
// failure.
template <class Remove>
void RemoveBy(std::u16string_view path, Remove remove) {
    if (!FileExists(path) || remove(path)) {
        return;
    }
    const std::uint32_t code = platform::GetLastError();
    if (code != win32err::kAccessDenied) {
        throw CWin32Exc(code);
    }
    ResetReadOnly(path);
    if (!remove(path)) {
        throw CWin32Exc(u"Cannot delete file.", CWin32Exc::kLastError);
    }
}

void Sleep(int seconds) {
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
}

}  // namespace

std::u16string ToLongPath(std::u16string_view path) {
    if (text::StartsWithNoCase(path, kLongPrefix)) {
        return std::u16string(path);
    }
    if (path.starts_with(u"\\\\")) {
        return std::u16string(kLongNetworkPrefix).append(path.substr(2));
    }
    return std::u16string(kLongPrefix).append(path);
}

SplitText SplitPath(std::u16string_view path) noexcept {
    std::size_t pos = path.rfind(u'\\');
    if (pos == std::u16string_view::npos) {
        pos = path.rfind(u'/');
    }
    return pos == std::u16string_view::npos ? SplitText{{}, path} : SplitAt(path, pos);
}

std::size_t FolderLength(std::u16string_view path) noexcept {
    const std::size_t last = path.find_last_of(kSeparators);
    return last == std::u16string_view::npos ? 0 : last + 1;
}

std::u16string SiblingPath(std::u16string_view path, std::u16string_view name) {
    const std::size_t length = FolderLength(path);
    return length == 0 ? std::u16string(name) : CombinePath(path.substr(0, length - 1), name);
}

SplitText SplitExtension(std::u16string_view name) noexcept {
    const std::size_t pos = name.rfind(u'.');
    return pos == std::u16string_view::npos ? SplitText{name, {}} : SplitAt(name, pos);
}

std::u16string_view StripTrailingSeparator(std::u16string_view path) noexcept {
    if (!path.empty() && kSeparators.find(path.back()) != std::u16string_view::npos) {
        path.remove_suffix(1);
    }
    return path;
}

std::u16string JoinPath(const std::vector<std::u16string_view>& parts) {
    std::u16string out;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i != 0) {
            out.push_back(u'\\');
        }
        out.append(StripTrailingSeparator(parts[i]));
    }
    return out;
}

std::u16string CombinePath(std::u16string_view a, std::u16string_view b) {
    return JoinPath({a, b});
}

bool FileExists(std::u16string_view path) {
    return platform::EntryExists(path);
}

bool AnyFileMatches(std::u16string_view pattern) {
    platform::FindData data;
    return static_cast<bool>(platform::CFindHandle(platform::FindFirstFileW(pattern, data)));
}

void ResetReadOnly(std::u16string_view path) {
    const auto reset = [&] {
        const std::uint32_t attributes = platform::GetFileAttributesW(path);
        if (attributes == platform::kInvalidAttributes) {
            throw CWin32Exc(u"Cannot get file attributes. File path: [%1].", {path},
                            CWin32Exc::kLastError);
        }
        if ((attributes & platform::kAttributeReadOnly) != 0 &&
            !platform::SetFileAttributesW(path, attributes & ~platform::kAttributeReadOnly)) {
            throw CWin32Exc(u"Cannot set file attributes. File path: [%1].", {path},
                            CWin32Exc::kLastError);
        }
    };
    WithContext(u"Cannot reset the read-only flag. File path: [%1].", {path}, reset);
}

void CreateFolder(std::u16string_view path) {
    // The folders to create, `path` first. A list instead of a recursion: a long path must not
    // exhaust the stack.
    std::vector<std::u16string_view> levels{path};
    try {
        CollectMissingAncestors(levels);
        for (; !levels.empty(); levels.pop_back()) {
            MakeFolder(levels.back());
        }
    } catch (CExc& exc) {
        for (; !levels.empty(); levels.pop_back()) {
            exc.AddMessage(u"Cannot create folder [%1].", {levels.back()});
        }
        throw;
    }
}

void DeleteFile(std::u16string_view path) {
    WithContext(kDeleteFailed, {path}, [&] { RemoveBy(path, platform::DeleteFileW); });
}

void DeleteFileDurably(std::u16string_view path) {
    const auto remove = [](std::u16string_view file) {
        return platform::DeleteFileDurably(file, StagedPath(file));
    };
    WithContext(kDeleteFailed, {path}, [&] { RemoveBy(path, remove); });
}

void CopyFile(std::u16string_view source, std::u16string_view target, bool createTargetFolder) {
    if (createTargetFolder) {
        WithContext(kCopyFailed, {source, target}, [&] { CreateFolder(SplitPath(target).head); });
    }
    if (!platform::CopyFileW(source, target, false)) {
        ThrowNotCopied(source, target, platform::GetLastError());
    }
}

void ThrowNotCopied(std::u16string_view source, std::u16string_view target, std::uint32_t code) {
    CWin32Exc exc(u"CopyFile() failed.", code);
    exc.AddMessage(kCopyFailed, {source, target});
    throw exc;
}

void CopyFileDurably(std::u16string_view source, std::u16string_view target) {
    if (!platform::CopyFileDurably(source, StagedPath(target), target)) {
        ThrowNotCopied(source, target, platform::GetLastError());
    }
}

std::u16string StagedPath(std::u16string_view path) {
    constexpr std::u16string_view kDigits = u"0123456789abcdef";
    std::u16string staged(path.substr(0, path.find_last_of(kSeparators) + 1));
    staged += u'.';
    std::random_device random;
    for (int word = 0; word < 4; ++word) {
        for (std::uint32_t bits = random(), digit = 0; digit < 8; ++digit, bits >>= 4) {
            staged += kDigits[bits & 0xF];
        }
    }
    return staged += u".new~";
}

void MoveFile(std::u16string_view source, std::u16string_view target, bool replace) {
    const std::uint32_t flags =
        platform::kMoveCopyAllowed | (replace ? platform::kMoveReplaceExisting : 0);
    if (!platform::MoveFileExW(source, target, flags)) {
        throw CWin32Exc(u"Cannot move file. Source path: [%1]. Target path: [%2].",
                        {ToLongPath(source), ToLongPath(target)}, CWin32Exc::kLastError);
    }
}

void CopyFolder(std::u16string_view source, std::u16string_view target) {
    const auto copy = [&] {
        CreateFolder(target);
        const FolderList list = ListFolder(CombinePath(source, u"*"));
        for (const std::u16string& name : list.files) {
            CopyFile(CombinePath(source, name), CombinePath(target, name), false);
        }
        for (const std::u16string& name : list.folders) {
            CopyFolder(CombinePath(source, name), CombinePath(target, name));
        }
    };
    WithContext(u"Cannot copy folder. Source folder: [%1]. Target folder: [%2].",
                {ToLongPath(source), ToLongPath(target)}, copy);
}

FolderList ListFolder(std::u16string_view pattern) {
    FolderList list;
    platform::FindData data;
    const platform::CFindHandle handle(platform::FindFirstFileW(pattern, data));
    if (!handle) {
        return list;
    }
    do {
        if (data.name != u"." && data.name != u"..") {
            const bool folder = (data.attributes & platform::kAttributeDirectory) != 0;
            (folder ? list.folders : list.files).push_back(data.name);
        }
    } while (platform::FindNextFileW(handle.Get(), data));
    if (platform::GetLastError() != win32err::kNoMoreFiles) {
        throw CWin32Exc();
    }
    return list;
}

void RemoveFolder(std::u16string_view path) {
    const auto remove = [&] {
        const FolderList list = ListFolder(CombinePath(path, u"*"));
        for (const std::u16string& name : list.files) {
            DeleteFile(CombinePath(path, name));
        }
        for (const std::u16string& name : list.folders) {
            RemoveFolder(CombinePath(path, name));
        }
        bool removed = platform::RemoveDirectoryW(path);
        if (!removed && platform::GetLastError() == win32err::kAccessDenied) {
            ResetReadOnly(path);
            removed = platform::RemoveDirectoryW(path);
        }
        if (!removed) {
            throw CWin32Exc(u"RemoveDirectory(%1) failed.", {ToLongPath(path)},
                            CWin32Exc::kLastError);
        }
    };
    WithContext(u"Cannot remove folder [%1].", {path}, remove);
}

std::u16string GetTempFolder() {
    std::u16string folder;
    if (!platform::GetTempPathW(folder)) {
        throw CWin32Exc(
            u"Cannot retrieve the path of the directory designated for temporary files.",
            CWin32Exc::kLastError);
    }
    return folder;
}

std::u16string GetModuleFilePath(platform::ModuleHandle module) {
    // Comparing the returned length with the "buffer too small" error code: kept for
    // compatibility. The limit ends the loop if the path has exactly that length.
    constexpr int kMaxGrowths = 4;
    std::u16string buffer(512, u'\0');
    std::uint32_t length = 0;
    for (int growths = 0;; ++growths) {
        length = platform::GetModuleFileNameW(module, buffer.data(),
                                              static_cast<std::uint32_t>(buffer.size()));
        if (length != win32err::kInsufficientBuffer || growths == kMaxGrowths) {
            break;
        }
        buffer.resize(2 * buffer.size() + 1);
    }
    if (length == 0) {
        throw CWin32Exc(u"GetModuleFileNameW() failed.", CWin32Exc::kLastError);
    }
    buffer.resize(std::min<std::size_t>(length, buffer.find(u'\0')));
    return buffer;
}

std::u16string GetModuleFolder(platform::ModuleHandle module) {
    const std::u16string path = GetModuleFilePath(module);
    return std::u16string(SplitPath(path).head);
}

std::u16string GetModuleFileName(platform::ModuleHandle module) {
    const std::u16string path = GetModuleFilePath(module);
    return std::u16string(SplitPath(path).tail);
}

std::u16string GetOwnModuleFilePath() {
    return GetModuleFilePath(platform::OwnModule());
}
std::u16string GetOwnModuleFolder() {
    return GetModuleFolder(platform::OwnModule());
}
std::u16string GetOwnModuleFileName() {
    return GetModuleFileName(platform::OwnModule());
}

void StartProcess(std::u16string_view program, std::u16string_view arguments) {
    if (!platform::StartProgram(program, arguments)) {
        throw CWin32Exc(
            u"Cannot create a new process. Path to the executable file: [%1]. Command line "
            u"arguments: [%2].",
            {program, arguments}, CWin32Exc::kLastError);
    }
}

std::u16string GetEnvironmentValue(std::u16string_view name) {
    std::u16string value;
    if (platform::GetEnvironmentVariableW(name, value)) {
        return value;
    }
    const std::uint32_t code = platform::GetLastError();
    if (code == win32err::kEnvVarNotFound) {
        throw CWin32Exc(u"Environmet variable was not found. Environment variable name: [%1].",
                        {name}, code);
    }
    throw CWin32Exc(u"Cannot expand environment variable. Variable name: [%1].", {name}, code);
}

void SetFilePointerTo(platform::FileHandle handle, std::int64_t position) {
    if (!platform::SetFilePointerEx(handle, position, nullptr, platform::EMoveMethod::Begin)) {
        throw CWin32Exc(u"Cannot set file pointer. Specified position: [%1]. Move method: [%2].",
                        {Int64ToString(position), u"FILE_BEGIN"}, CWin32Exc::kLastError);
    }
}

void ReadExactly(platform::FileHandle handle, void* buffer, std::uint32_t length) {
    std::size_t read = 0;
    const std::u16string wanted = UInt64ToString(length);
    if (!platform::ReadFile(handle, buffer, length, read)) {
        throw CWin32Exc(u"Cannot read data from the file. Specified bytes number to read: [%1].",
                        {wanted}, CWin32Exc::kLastError);
    }
    if (read < length) {
        throw CExc(
            u"The number of bytes read from the file is less than the required. Retrieved bytes "
            u"number: [%1]. Required bytes number: [%2].",
            {UInt64ToString(read), wanted}, kFail);
    }
}

platform::CFileHandle DuplicateHandleOf(platform::FileHandle handle) {
    platform::CFileHandle copy(platform::DuplicateHandle(handle));
    if (!copy) {
        throw CWin32Exc(u"Cannot duplicate handle.", CWin32Exc::kLastError);
    }
    return copy;
}

void FileWaitCreation(std::u16string_view path, std::uint32_t seconds) {
    for (; !FileExists(path); --seconds) {
        if (seconds == 0) {
            throw CExc(u"FileWaitCreation() timeout occured.", kFail);
        }
        Sleep(1);
    }
    for (;;) {
        const platform::CFileHandle file(
            platform::CreateFileW(path, platform::kGenericWrite, platform::kShareRead,
                                  platform::kOpenExisting, platform::kAttributeNormal));
        if (file) {
            return;
        }
        const std::uint32_t code = platform::GetLastError();
        if (code != win32err::kSharingViolation) {
            throw CWin32Exc(u"Cannot open file in FileWaitCreation()", code);
        }
        Sleep(1);
        if (seconds == 0 || --seconds == 0) {
            return;
        }
    }
}

}  // namespace frame
