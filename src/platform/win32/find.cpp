// Listing folders.
#include <algorithm>
#include <memory>
#include <vector>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/win32/call.h"
#include "platform/win32/ticks.h"
#include "platform/win32/wide.h"

namespace platform {

using win32::Fail;

namespace {

struct SearchTraits {
    using Value = HANDLE;
    static Value Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Release(Value value) noexcept { ::FindClose(value); }
};

// The entries that match a pattern, in order.
struct Find {
    std::vector<FindData> entries;
    std::size_t next = 0;  // the first entry not yet returned
};

FindData DataOf(const WIN32_FIND_DATAW& found) {
    FindData data;
    data.attributes = found.dwFileAttributes;
    data.creationTime = win32::TicksOf(found.ftCreationTime);
    data.lastAccessTime = win32::TicksOf(found.ftLastAccessTime);
    data.lastWriteTime = win32::TicksOf(found.ftLastWriteTime);
    data.size =
        static_cast<std::int64_t>(std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow);
    data.name = win32::Units(found.cFileName);
    return data;
}

// "." and ".." first, then by code units.
bool InOrder(const FindData& a, const FindData& b) {
    const auto rank = [](const std::u16string& name) {
        return name == u"." ? 0 : name == u".." ? 1 : 2;
    };
    return rank(a.name) != rank(b.name) ? rank(a.name) < rank(b.name) : a.name < b.name;
}

// Reads all entries that match the pattern, in the system's order; false with the last error.
bool ReadEntries(const std::u16string& pattern, std::vector<FindData>& entries) {
    WIN32_FIND_DATAW found{};
    const CUniqueResource<SearchTraits> search(
        ::FindFirstFileExW(win32::Wide(pattern.c_str()), FindExInfoBasic, &found,
                           FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH));
    if (!search) {
        return false;
    }
    do {
        entries.push_back(DataOf(found));
    } while (::FindNextFileW(search.Get(), &found) != FALSE);
    return ::GetLastError() == win32err::kNoMoreFiles;
}

}  // namespace

FindHandle FindFirstFileW(std::u16string_view pattern, FindData& data) {
    const auto native = win32::NativePath(pattern);
    auto find = std::make_unique<Find>();
    if (!native || !win32::Succeeds([&] { return ReadEntries(*native, find->entries); })) {
        return kInvalidFindHandle;
    }
    std::sort(find->entries.begin(), find->entries.end(), InOrder);
    FindNextFileW(find.get(), data);
    return find.release();
}

bool FindNextFileW(FindHandle handle, FindData& data) {
    if (handle == nullptr || handle == kInvalidFindHandle) {
        return Fail(win32err::kInvalidHandle);
    }
    auto& find = *static_cast<Find*>(handle);
    if (find.next == find.entries.size()) {
        return Fail(win32err::kNoMoreFiles);
    }
    data = std::move(find.entries[find.next++]);
    return true;
}

bool FindClose(FindHandle handle) noexcept {
    if (handle == nullptr || handle == kInvalidFindHandle) {
        return Fail(win32err::kInvalidHandle);
    }
    delete static_cast<Find*>(handle);
    return true;
}

bool EntryExists(std::u16string_view path) {
    FindData ignored;
    return static_cast<bool>(CFindHandle(FindFirstFileW(path, ignored)));
}

}  // namespace platform
