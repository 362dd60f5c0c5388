// Open files.
#include "platform/files.h"

#include <algorithm>

#include "platform/errors.h"
#include "platform/system.h"
#include "platform/win32/call.h"
#include "platform/win32/ticks.h"
#include "platform/win32/wide.h"

namespace platform {

using win32::Fail;
using win32::Succeeds;
using win32::Wide;

namespace {

// Moves `length` bytes by calls of `transfer`(offset, length, count), whose length has 32
// bits; a count of 0 ends the transfer early. `transferred` is set in every case. A transfer
// of 0 bytes makes one call too, which checks the handle.
template <class Transfer>
bool TransferAll(std::size_t length, std::size_t& transferred, Transfer transfer) noexcept {
    constexpr std::size_t kMaxPiece = std::size_t{1} << 30;
    transferred = 0;
    DWORD count = 0;
    do {
        count = 0;
        const auto wanted = static_cast<DWORD>(std::min(length - transferred, kMaxPiece));
        const bool done = transfer(transferred, wanted, count) != FALSE;
        transferred += count;
        if (!done) {
            return false;
        }
    } while (transferred < length && count > 0);
    return true;
}

// A time to set as FILETIME; null stays null.
class CTimeArgument {
public:
    explicit CTimeArgument(const std::int64_t* ticks) noexcept
        : m_time(win32::FileTimeOf(ticks == nullptr ? 0 : *ticks)), m_given(ticks != nullptr) {}
    const FILETIME* Get() const noexcept { return m_given ? &m_time : nullptr; }

private:
    FILETIME m_time;
    bool m_given;
};

void StoreTicks(std::int64_t* target, const FILETIME& time) noexcept {
    if (target != nullptr) {
        *target = win32::TicksOf(time);
    }
}

}  // namespace

FileHandle CreateFileW(std::u16string_view path, std::uint32_t access, std::uint32_t share,
                       std::uint32_t disposition, std::uint32_t flags) {
    const auto native = win32::NativePath(path);
    if (!native) {
        return kInvalidFileHandle;
    }
    if (disposition == kCreateAlways) {
        flags &= ~kFlagNoFollow;  // the system does not combine the two
    }
    const DWORD before = ::GetLastError();
    const HANDLE handle =
        ::CreateFileW(Wide(native->c_str()), access, share, nullptr, disposition, flags, nullptr);
    const bool setsLastError = disposition == kCreateAlways || disposition == kOpenAlways;
    if (handle != kInvalidFileHandle && !setsLastError) {
        ::SetLastError(before);
    }
    return handle;
}

// For the system the value of kInvalidFileHandle is the handle of this process.
bool CloseHandle(FileHandle handle) noexcept {
    if (handle == kInvalidFileHandle) {
        return Fail(win32err::kInvalidHandle);
    }
    return Succeeds([&] { return ::CloseHandle(handle); });
}

FileHandle DuplicateHandle(FileHandle handle) noexcept {
    HANDLE copy = kInvalidFileHandle;
    if (handle == kInvalidFileHandle) {
        Fail(win32err::kInvalidHandle);
        return kInvalidFileHandle;
    }
    const HANDLE process = ::GetCurrentProcess();
    const bool done = Succeeds([&] {
        return ::DuplicateHandle(process, handle, process, &copy, 0, FALSE, DUPLICATE_SAME_ACCESS);
    });
    return done ? copy : kInvalidFileHandle;
}

bool ReadFile(FileHandle handle, void* buffer, std::size_t length,
              std::size_t& transferred) noexcept {
    const auto read = [&](std::size_t offset, DWORD wanted, DWORD& count) {
        return ::ReadFile(handle, static_cast<char*>(buffer) + offset, wanted, &count, nullptr);
    };
    return Succeeds([&] { return TransferAll(length, transferred, read); });
}

bool WriteFile(FileHandle handle, const void* buffer, std::size_t length,
               std::size_t& transferred) noexcept {
    const auto write = [&](std::size_t offset, DWORD wanted, DWORD& count) {
        const char* from = static_cast<const char*>(buffer) + offset;
        return ::WriteFile(handle, from, wanted, &count, nullptr);
    };
    if (!Succeeds([&] { return TransferAll(length, transferred, write); })) {
        return false;
    }
    return transferred == length || Fail(win32err::kDiskFull);
}

bool SetFilePointerEx(FileHandle handle, std::int64_t distance, std::int64_t* newPosition,
                      EMoveMethod method) noexcept {
    static_assert(static_cast<DWORD>(EMoveMethod::Begin) == FILE_BEGIN &&
                  static_cast<DWORD>(EMoveMethod::Current) == FILE_CURRENT &&
                  static_cast<DWORD>(EMoveMethod::End) == FILE_END);
    LARGE_INTEGER by{};
    LARGE_INTEGER reached{};
    by.QuadPart = distance;
    if (!Succeeds(
            [&] { return ::SetFilePointerEx(handle, by, &reached, static_cast<DWORD>(method)); })) {
        return false;
    }
    if (newPosition != nullptr) {
        *newPosition = reached.QuadPart;
    }
    return true;
}

bool GetFileSizeEx(FileHandle handle, std::int64_t& size) noexcept {
    LARGE_INTEGER found{};
    if (!Succeeds([&] { return ::GetFileSizeEx(handle, &found); })) {
        return false;
    }
    size = found.QuadPart;
    return true;
}

bool SetEndOfFile(FileHandle handle) noexcept {
    return Succeeds([&] { return ::SetEndOfFile(handle); });
}

bool FlushFileBuffers(FileHandle handle) noexcept {
    return Succeeds([&] { return ::FlushFileBuffers(handle); });
}

bool GetFileTime(FileHandle handle, std::int64_t* creation, std::int64_t* lastAccess,
                 std::int64_t* lastWrite) noexcept {
    FILETIME created{};
    FILETIME accessed{};
    FILETIME written{};
    if (!Succeeds([&] { return ::GetFileTime(handle, &created, &accessed, &written); })) {
        return false;
    }
    StoreTicks(creation, created);
    StoreTicks(lastAccess, accessed);
    StoreTicks(lastWrite, written);
    return true;
}

// The file system keeps the times while the handle is open, and treats 0, -1 and -2 as the
// contract requires.
bool SetFileTime(FileHandle handle, const std::int64_t* creation, const std::int64_t* lastAccess,
                 const std::int64_t* lastWrite) noexcept {
    const CTimeArgument created(creation);
    const CTimeArgument accessed(lastAccess);
    const CTimeArgument written(lastWrite);
    return Succeeds(
        [&] { return ::SetFileTime(handle, created.Get(), accessed.Get(), written.Get()); });
}

}  // namespace platform
