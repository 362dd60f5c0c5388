// Links, and what an entry is.
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "ZorelText.h"
#include "platform/files.h"
#include "platform/posix/open_file.h"
#include "platform/posix/path.h"

namespace platform {

namespace {

// The target of a link; empty for any other entry.
std::string TargetOf(const std::string& path) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
    return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
}

}  // namespace

EEntryKind GetEntryKind(std::u16string_view path) {
    const auto native = posix::NativePath(path);
    struct stat info {};
    if (!native || ::lstat(native->c_str(), &info) != 0) {
        return EEntryKind::None;
    }
    return S_ISREG(info.st_mode)   ? EEntryKind::File
           : S_ISDIR(info.st_mode) ? EEntryKind::Folder
                                   : EEntryKind::Other;
}

bool LeadsElsewhere(std::u16string_view path) {
    const auto native = posix::NativePath(path);
    struct stat info {};
    return native && ::lstat(native->c_str(), &info) == 0 && !S_ISDIR(info.st_mode) &&
           (!S_ISREG(info.st_mode) || info.st_nlink > 1);
}

bool NamesFile(std::u16string_view path, FileHandle handle) {
    const auto native = posix::NativePath(path);
    const posix::OpenFile* file = posix::FileOf(handle);
    struct stat named {};
    struct stat opened {};
    return native && file != nullptr && ::stat(native->c_str(), &named) == 0 &&
           ::fstat(file->descriptor.Get(), &opened) == 0 && named.st_dev == opened.st_dev &&
           named.st_ino == opened.st_ino;
}

std::u16string ResolveLink(std::u16string_view path) {
    constexpr int kMaxLinks = 40;  // as many as the system follows
    const auto native = posix::NativePath(path);
    std::string resolved = native.value_or(std::string());
    std::string target;
    int links = 0;
    while (links < kMaxLinks && !(target = TargetOf(resolved)).empty()) {
        ++links;
        if (target.front() != '/') {
            std::string folder = posix::ParentFolder(resolved);
            folder += folder == "/" ? "" : "/";
            target.insert(0, folder);
        }
        resolved = target;
    }
    return links == 0 || links == kMaxLinks ? std::u16string(path) : zorel::ToUtf16(resolved);
}

}  // namespace platform
