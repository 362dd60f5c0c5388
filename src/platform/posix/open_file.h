// Open files: the object that a FileHandle points to, and how files are opened.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

#include "platform/files.h"
#include "platform/unique_resource.h"

namespace platform::posix {

struct DescriptorTraits {
    using Value = int;
    static Value Empty() noexcept { return -1; }
    static void Release(Value value) noexcept { ::close(value); }
};
using CDescriptor = CUniqueResource<DescriptorTraits>;

inline constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;
inline constexpr mode_t kDefaultMode = 0666;

// The read-only attribute: no write permission.
inline bool IsReadOnly(const struct stat& info) {
    return (info.st_mode & kWriteBits) == 0;
}

// The state that the handles of one open share.
struct OpenState {
    // The access and write time to restore after a write; UTIME_OMIT for none.
    std::timespec keptTimes[2];
    // The folder of a new file whose entry is not yet on the disk, else empty.
    std::string folderToSync;
};

// One handle. One thread at a time may use a handle and its duplicates.
struct OpenFile {
    CDescriptor descriptor;
    std::uint32_t access = 0;
    std::shared_ptr<OpenState> state;

    // Whether the rights include `wanted`; if not, sets last error 5.
    bool Allows(std::uint32_t wanted) const noexcept;
    // Restores the kept times; false with errno.
    bool RestoreTimes() const noexcept;
};

// The open file of a handle; null with last error 6 for a null or invalid handle.
OpenFile* FileOf(FileHandle handle) noexcept;
// A file without a descriptor; throws std::bad_alloc.
std::unique_ptr<OpenFile> NewOpenFile(std::uint32_t access);
FileHandle MakeHandle(std::unique_ptr<OpenFile> file) noexcept;

struct OpenRequest {
    std::string path;  // native
    std::uint32_t access = 0;
    std::uint32_t share = 0;
    std::uint32_t disposition = kOpenExisting;
    std::uint32_t flags = 0;
    mode_t mode = kDefaultMode;  // of a new file, before the process's umask
};

struct Opened {
    CDescriptor descriptor;  // empty on failure, with the last error set
    struct stat info {};
    bool created = false;
};

// Opens or creates under the sharing rules of files.h. Does not truncate: with kCreateAlways
// the caller does so after this call.
Opened OpenShared(const OpenRequest& request);

// To be called before the entry `info` at `path` is removed or renamed. False with last error
// 32 while a writer has the file open. `lock` excludes writers until it is released.
bool LockForRemoval(const std::string& path, const struct stat& info, CDescriptor& lock) noexcept;

// Empties a file; no effect on an entry without a length. False with errno.
bool Truncate(int descriptor) noexcept;
// Writes the entries of a folder to the disk; false with errno.
bool SyncFolder(const std::string& folder) noexcept;

}  // namespace platform::posix
