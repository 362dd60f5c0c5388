#include "platform/staged_file.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

#include "platform/errors.h"
#include "platform/posix/copy.h"
#include "platform/posix/errno_map.h"
#include "platform/posix/open_file.h"
#include "platform/posix/path.h"

namespace platform {

using posix::FailErrno;
using posix::Opened;

namespace {

// The path of an open file, with a name or without.
std::string DescriptorPath(const posix::CDescriptor& descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor.Get());
}

// A new file without a name; empty where the system cannot create or publish such files.
posix::CDescriptor CreateUnnamed(const std::string& folder, mode_t mode) {
    posix::CDescriptor descriptor(::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
    if (descriptor && ::access(DescriptorPath(descriptor).c_str(), F_OK) != 0) {
        descriptor.Reset();
    }
    // In use from the moment it has a name. A file system without locks refuses none.
    if (descriptor) {
        ::flock(descriptor.Get(), LOCK_EX | LOCK_NB);
    }
    return descriptor;
}

// `hasName` is false for a file without a name.
Opened CreateStaged(const std::string& temporary, mode_t mode, bool& hasName) {
    Opened opened;
    opened.descriptor = CreateUnnamed(posix::ParentFolder(temporary), mode);
    hasName = !opened.descriptor;
    if (hasName) {
        return posix::OpenShared({temporary, kGenericWrite, 0, kCreateNew, 0, mode});
    }
    opened.created = true;
    if (::fstat(opened.descriptor.Get(), &opened.info) != 0) {
        FailErrno();
        opened.descriptor.Reset();
    }
    return opened;
}

// An empty `temporary`: the file has no name.
bool Publish(posix::CDescriptor& descriptor, const std::string& temporary,
             const std::string& target) {
    if (temporary.empty()) {
        const std::string source = DescriptorPath(descriptor);
        if (::linkat(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), AT_SYMLINK_FOLLOW) != 0) {
            return FailErrno(target);
        }
    } else if (posix::RenameWithoutReplacing(temporary.c_str(), target.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        return posix::Fail(posix::Win32FromErrno(error, target));
    }
    return posix::SyncFolder(posix::ParentFolder(target)) || FailErrno();
}

}  // namespace

StagedFile CreateStagedFile(std::u16string_view temporary) {
    const auto native = posix::NativePath(temporary);
    if (!native) {
        return {};
    }
    auto file = posix::NewOpenFile(kGenericWrite);
    bool hasName = false;
    Opened opened = CreateStaged(*native, posix::kDefaultMode, hasName);
    if (!opened.descriptor) {
        return {};
    }
    file->descriptor = std::move(opened.descriptor);
    return {CFileHandle(posix::MakeHandle(std::move(file))),
            hasName ? std::u16string(temporary) : std::u16string()};
}

bool PublishStagedFile(StagedFile& file, std::u16string_view target) {
    const auto to = posix::NativePath(target);
    if (!to) {
        DiscardStagedFile(file);
        return false;
    }
    const std::string temporary =
        file.temporary.empty() ? std::string() : *posix::NativePath(file.temporary);
    const CFileHandle handle = std::move(file.handle);
    file.temporary.clear();
    return Publish(posix::FileOf(handle.Get())->descriptor, temporary, *to);
}

void DiscardStagedFile(StagedFile& file) {
    file.handle.Reset();
    if (!file.temporary.empty()) {
        ::unlink(posix::NativePath(file.temporary)->c_str());
        file.temporary.clear();
    }
}

bool CopyFileDurably(std::u16string_view source, std::u16string_view temporary,
                     std::u16string_view target) {
    const auto from = posix::NativePath(source);
    const auto to = posix::NativePath(target);
    const auto between = posix::NativePath(temporary);
    if (!from || !to || !between) {
        return false;
    }
    const Opened original = posix::OpenToCopy(*from, kFlagNoFollow);
    if (!original.descriptor) {
        return false;
    }
    bool hasName = false;
    Opened copy = CreateStaged(*between, original.info.st_mode & 0777, hasName);
    if (!copy.descriptor) {
        return false;
    }
    if (!posix::CopyOpened(original, copy, true)) {
        const int error = errno;
        if (hasName) {
            ::unlink(between->c_str());
        }
        return posix::Fail(posix::Win32FromErrno(error));
    }
    return Publish(copy.descriptor, hasName ? *between : std::string(), *to);
}

bool DeleteFileDurably(std::u16string_view path, std::u16string_view) {
    return DeleteFileW(path) &&
           (posix::SyncFolder(posix::ParentFolder(*posix::NativePath(path))) || FailErrno());
}

}  // namespace platform
