// Open files of the port: what a FileHandle points to, and how one comes to be.
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

// The read-only attribute: nobody may write the entry.
inline bool IsReadOnly(const struct stat& info) {
    return (info.st_mode & kWriteBits) == 0;
}

// What the handles of one open have in common.
struct OpenState {
    // Access and write time that stay, UTIME_OMIT where the system's own rules hold.
    std::timespec keptTimes[2];
    // The folder of a new file whose entry is not yet on the disk, else empty.
    std::string folderToSync;
};

// One handle. A handle and its duplicates belong to one thread at a time.
struct OpenFile {
    CDescriptor descriptor;
    std::uint32_t access = 0;
    std::shared_ptr<OpenState> state;

    // Rights include `wanted`; otherwise false with last error 5.
    bool Allows(std::uint32_t wanted) const noexcept;
    // Sets the kept times again; false with errno.
    bool RestoreTimes() const noexcept;
};

// The file behind a handle; null with last error 6 for no handle.
OpenFile* FileOf(FileHandle handle) noexcept;
FileHandle MakeHandle(std::unique_ptr<OpenFile> file) noexcept;

struct OpenRequest {
    std::string path;  // as the system takes it
    std::uint32_t access = 0;
    std::uint32_t share = 0;
    std::uint32_t disposition = kOpenExisting;
    std::uint32_t flags = 0;
    mode_t mode = kDefaultMode;  // of a new file, cut by the process's mask
};

struct Opened {
    CDescriptor descriptor;  // empty on failure, with the last error set
    struct stat info {};
    bool created = false;
};

// Opens or creates under the sharing rules of files.h. Cuts nothing: with kCreateAlways
// the caller truncates the file that it now holds.
Opened OpenShared(const OpenRequest& request);

// Before the entry `info` at `path` loses its name: false with last error 32 while a writer
// holds the file. `lock` keeps writers out until it is let go.
bool LockForRemoval(const std::string& path, const struct stat& info, CDescriptor& lock) noexcept;

// Empties a file; anything that has no length stays as it is. False with errno.
bool Truncate(int descriptor) noexcept;
// Brings the entries of a folder to the disk; false with errno.
bool SyncFolder(const std::string& folder) noexcept;

}  // namespace platform::posix
