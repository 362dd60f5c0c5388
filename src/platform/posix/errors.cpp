#include "platform/errors.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace platform {

namespace {

thread_local std::uint32_t t_lastError = win32err::kSuccess;

struct SystemText {
    std::uint32_t code;
    std::u16string_view text;
};

// Without the texts that contain inserts, which the system does not return either.
constexpr SystemText kSystemTexts[] = {
    {0, u"The operation completed successfully."},
    {1, u"Incorrect function."},
    {2, u"The system cannot find the file specified."},
    {3, u"The system cannot find the path specified."},
    {4, u"The system cannot open the file."},
    {5, u"Access is denied."},
    {6, u"The handle is invalid."},
    {7, u"The storage control blocks were destroyed."},
    {8, u"Not enough storage is available to process this command."},
    {9, u"The storage control block address is invalid."},
    {10, u"The environment is incorrect."},
    {11, u"An attempt was made to load a program with an incorrect format."},
    {12, u"The access code is invalid."},
    {13, u"The data is invalid."},
    {14, u"Not enough storage is available to complete this operation."},
    {15, u"The system cannot find the drive specified."},
    {16, u"The directory cannot be removed."},
    {17, u"The system cannot move the file to a different disk drive."},
    {18, u"There are no more files."},
    {19, u"The media is write protected."},
    {20, u"The system cannot find the device specified."},
    {21, u"The device is not ready."},
    {22, u"The device does not recognize the command."},
    {23, u"Data error (cyclic redundancy check)."},
    {24, u"The program issued a command but the command length is incorrect."},
    {25, u"The drive cannot locate a specific area or track on the disk."},
    {29, u"The system cannot write to the specified device."},
    {30, u"The system cannot read from the specified device."},
    {31, u"A device attached to the system is not functioning."},
    {32, u"The process cannot access the file because it is being used by another process."},
    {33,
     u"The process cannot access the file because another process has locked a portion of the "
     u"file."},
    {36, u"Too many files opened for sharing."},
    {38, u"Reached the end of the file."},
    {39, u"The disk is full."},
    {50, u"The request is not supported."},
    {53, u"The network path was not found."},
    {54, u"The network is busy."},
    {55, u"The specified network resource or device is no longer available."},
    {59, u"An unexpected network error occurred."},
    {64, u"The specified network name is no longer available."},
    {65, u"Network access is denied."},
    {67, u"The network name cannot be found."},
    {80, u"The file exists."},
    {82, u"The directory or file cannot be created."},
    {87, u"The parameter is incorrect."},
    {109, u"The pipe has been ended."},
    {110, u"The system cannot open the device or file specified."},
    {111, u"The file name is too long."},
    {112, u"There is not enough space on the disk."},
    {122, u"The data area passed to a system call is too small."},
    {123, u"The filename, directory name, or volume label syntax is incorrect."},
    {126, u"The specified module could not be found."},
    {127, u"The specified procedure could not be found."},
    {131, u"An attempt was made to move the file pointer before the beginning of the file."},
    {145, u"The directory is not empty."},
    {161, u"The specified path is invalid."},
    {170, u"The requested resource is in use."},
    {183, u"Cannot create a file when that file already exists."},
    {203, u"The system could not find the environment option that was entered."},
    {206, u"The filename or extension is too long."},
    {223, u"The file size exceeds the limit allowed and cannot be saved."},
    {234, u"More data is available."},
    {258, u"The wait operation timed out."},
    {259, u"No more data is available."},
    {267, u"The directory name is invalid."},
    {487, u"Attempt to access invalid address."},
    {534, u"Arithmetic result exceeded 32 bits."},
    {995,
     u"The I/O operation has been aborted because of either a thread exit or an application "
     u"request."},
    {998, u"Invalid access to memory location."},
    {1006,
     u"The volume for a file has been externally altered so that the opened file is no longer "
     u"valid."},
    {1117, u"The request could not be performed because of an I/O device error."},
    {1167, u"The device is not connected."},
    {1168, u"Element not found."},
    {1223, u"The operation was canceled by the user."},
    {1314, u"A required privilege is not held by the client."},
    {1392, u"The file or directory is corrupted and unreadable."},
    {1393, u"The disk structure is corrupted and unreadable."},
    {1450, u"Insufficient system resources exist to complete the requested service."},
    {1455, u"The paging file is too small for this operation to complete."},
    {1460, u"This operation returned because the timeout period expired."},
    {1705, u"The string universal unique identifier (UUID) is invalid."},
    {1784, u"The supplied user buffer is not valid for the requested operation."},
    {1816, u"Not enough quota is available to process this command."},
    {1920, u"The file cannot be accessed by the system."},
    {1921, u"The name of the file cannot be resolved by the system."},
};

constexpr bool ByCode(const SystemText& a, const SystemText& b) {
    return a.code < b.code;
}
static_assert(std::is_sorted(std::begin(kSystemTexts), std::end(kSystemTexts), ByCode));

// The upper half of an HRESULT that contains a Win32 code.
constexpr std::uint32_t kWin32HResult = 0x80070000U;

}  // namespace

std::uint32_t GetLastError() noexcept {
    return t_lastError;
}

void SetLastError(std::uint32_t code) noexcept {
    t_lastError = code;
}

std::u16string SystemMessage(std::uint32_t code) {
    if ((code & 0xFFFF0000U) == kWin32HResult) {
        code &= 0xFFFFU;
    }
    const auto* const found = std::lower_bound(std::begin(kSystemTexts), std::end(kSystemTexts),
                                               SystemText{code, {}}, ByCode);
    if (found == std::end(kSystemTexts) || found->code != code) {
        return {};
    }
    return std::u16string(found->text) + u"\r\n";
}

}  // namespace platform
