// Listing folders.
#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include "ZorelText.h"
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/posix/attributes.h"
#include "platform/posix/errno_map.h"
#include "platform/posix/path.h"
#include "platform/posix/ticks.h"

namespace platform {

using posix::Fail;
using posix::FailErrno;

namespace {

struct FolderTraits {
    using Value = DIR*;
    static Value Empty() noexcept { return nullptr; }
    static void Release(Value value) noexcept { ::closedir(value); }
};

// The entries that match a pattern.
struct Find {
    CUniqueResource<FolderTraits> folder;  // null for a pattern without wildcards
    std::vector<std::u16string> names;
    std::size_t next = 0;  // the first entry not yet returned
};

bool HasWildcards(std::string_view text) {
    return text.find_first_of("*?") != std::string_view::npos;
}

// * matches any number of code units, ? matches one.
bool Matches(std::u16string_view pattern, std::u16string_view name) {
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t star = std::u16string_view::npos;
    std::size_t covered = 0;  // units of the name up to the end of the last star's match
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == u'*') {
            star = p++;
            covered = n;
        } else if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (star != std::u16string_view::npos) {
            p = star + 1;
            n = ++covered;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(u'*', p) == std::u16string_view::npos;
}

// False with errno.
bool ReadNames(DIR* folder, std::u16string_view pattern, std::vector<std::u16string>& names) {
    const std::u16string_view wanted = pattern == u"*.*" ? u"*" : pattern;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(folder);
        if (entry == nullptr) {
            return errno == 0;
        }
        std::u16string name = zorel::ToUtf16(entry->d_name);
        if (Matches(wanted, name)) {
            names.push_back(std::move(name));
        }
    }
}

// "." and ".." first, then by code units.
bool InOrder(const std::u16string& a, const std::u16string& b) {
    const auto rank = [](const std::u16string& name) {
        return name == u"." ? 0 : name == u".." ? 1 : 2;
    };
    return rank(a) != rank(b) ? rank(a) < rank(b) : a < b;
}

// Describes the entry `name` of `folder`; false with errno. For a link to a file: the file.
// For a link to a folder: the link itself, so that the removal of a folder tree removes the
// link and not the content of its target.
bool Describe(int folder, const std::string& name, FindData& data) {
    struct stat info {};
    int flags = AT_SYMLINK_NOFOLLOW;
    if (::fstatat(folder, name.c_str(), &info, flags) != 0) {
        return false;
    }
    struct stat target {};
    if (S_ISLNK(info.st_mode) && ::fstatat(folder, name.c_str(), &target, 0) == 0 &&
        !S_ISDIR(target.st_mode)) {
        info = target;
        flags = 0;
    }
    data.attributes = posix::AttributesOf(info);
    data.creationTime = posix::CreationTicks(folder, name.c_str(), flags, info);
    data.lastAccessTime = posix::TicksFromTimespec(info.st_atim);
    data.lastWriteTime = posix::TicksFromTimespec(info.st_mtim);
    data.size = S_ISDIR(info.st_mode) ? 0 : info.st_size;
    return true;
}

// Skips entries that were removed after the folder was read.
bool NextEntry(Find& find, FindData& data) {
    while (find.next < find.names.size()) {
        std::u16string& name = find.names[find.next++];
        if (Describe(::dirfd(find.folder.Get()), zorel::ToUtf8(name), data)) {
            data.name = std::move(name);
            return true;
        }
        if (errno != ENOENT) {
            return FailErrno();
        }
    }
    return Fail(win32err::kNoMoreFiles);
}

bool FailMissing(const std::string& path) {
    return Fail(posix::Win32FromErrno(ENOENT, path));
}

bool FindOne(const std::string& path, const std::string& name, FindData& data) {
    if (!Describe(AT_FDCWD, path, data)) {
        return FailErrno(path);
    }
    data.name = zorel::ToUtf16(name);
    return true;
}

bool FindAll(const std::string& folder, const std::string& pattern, Find& find, FindData& data) {
    find.folder.Reset(::opendir(folder.c_str()));
    if (!find.folder) {
        return Fail(errno == ENOENT ? win32err::kPathNotFound : posix::Win32FromErrno(errno));
    }
    if (!ReadNames(find.folder.Get(), zorel::ToUtf16(pattern), find.names)) {
        return FailErrno();
    }
    std::sort(find.names.begin(), find.names.end(), InOrder);
    if (NextEntry(find, data)) {
        return true;
    }
    return GetLastError() == win32err::kNoMoreFiles ? Fail(win32err::kFileNotFound) : false;
}

}  // namespace

FindHandle FindFirstFileW(std::u16string_view pattern, FindData& data) {
    const auto native = posix::NativePath(pattern);
    if (!native) {
        return kInvalidFindHandle;
    }
    const std::size_t separator = native->rfind('/');
    const std::size_t start = separator == std::string::npos ? 0 : separator + 1;
    const std::string last = native->substr(start);
    if (last.empty()) {
        FailMissing(*native);
        return kInvalidFindHandle;
    }
    auto find = std::make_unique<Find>();
    const bool found = HasWildcards(last) ? FindAll(posix::ParentFolder(*native), last, *find, data)
                                          : FindOne(*native, last, data);
    return found ? find.release() : kInvalidFindHandle;
}

bool FindNextFileW(FindHandle handle, FindData& data) {
    if (handle == nullptr || handle == kInvalidFindHandle) {
        return Fail(win32err::kInvalidHandle);
    }
    return NextEntry(*static_cast<Find*>(handle), data);
}

bool FindClose(FindHandle handle) noexcept {
    if (handle == nullptr || handle == kInvalidFindHandle) {
        return Fail(win32err::kInvalidHandle);
    }
    delete static_cast<Find*>(handle);
    return true;
}

bool EntryExists(std::u16string_view path) {
    const auto native = posix::NativePath(path);
    if (!native) {
        return false;
    }
    if (native->back() == '/') {
        return FailMissing(*native);
    }
    struct stat info {};
    return ::lstat(native->c_str(), &info) == 0 || FailErrno(*native);
}

}  // namespace platform
