#include "cli/catalogue/posix/directory.h"

#include <dirent.h>
#include <fcntl.h>

#include <cerrno>
#include <memory>

namespace zorel::cli {

namespace {

struct CloseStream {
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using FolderStream = std::unique_ptr<DIR, CloseStream>;

// Opens the folder again, so that `folder` stays open when the stream is closed.
FolderStream OpenStream(int folder) {
    CDescriptor own = OpenSubfolder(folder, ".");
    FolderStream stream(own ? ::fdopendir(own.Get()) : nullptr);
    if (stream) {
        own.Detach();
    } else if (IsOutOfResources(errno)) {
        ThrowSystemError("Cannot read a folder", errno);
    }
    return stream;
}

}  // namespace

CDescriptor OpenFolder(const std::string& path) {
    CDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        ThrowSystemError(path, errno);
    }
    return folder;
}

CDescriptor OpenSubfolder(int parent, const char* name) {
    return CDescriptor(
        ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
}

FolderId IdOf(const CDescriptor& folder, const std::string& name) {
    struct stat status {};
    if (::fstat(folder.Get(), &status) != 0) {
        ThrowSystemError(name, errno);
    }
    return {status.st_dev, status.st_ino};
}

bool IsRegularFile(const std::string& path, struct stat& status) {
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool IsOutOfResources(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

int ForEachName(int folder, const std::function<bool(const std::string&)>& use) {
    const FolderStream stream = OpenStream(folder);
    if (!stream) {
        return errno;
    }
    for (;;) {
        errno = 0;
        // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread uses this stream.
        const dirent* entry = ::readdir(stream.get());
        if (entry == nullptr) {
            return errno;
        }
        const std::string name = entry->d_name;
        if (name != "." && name != ".." && !use(name)) {
            return 0;
        }
    }
}

}  // namespace zorel::cli
