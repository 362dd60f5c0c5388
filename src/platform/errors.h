// The calling thread's last error, as a Win32 code on every system, and the system's texts
// for these codes.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

namespace win32err {
inline constexpr std::uint32_t kSuccess = 0;
inline constexpr std::uint32_t kFileNotFound = 2;
inline constexpr std::uint32_t kPathNotFound = 3;
inline constexpr std::uint32_t kTooManyOpenFiles = 4;
inline constexpr std::uint32_t kAccessDenied = 5;
inline constexpr std::uint32_t kInvalidHandle = 6;
inline constexpr std::uint32_t kNotEnoughMemory = 8;
inline constexpr std::uint32_t kInvalidData = 13;
inline constexpr std::uint32_t kNotSameDevice = 17;
inline constexpr std::uint32_t kNoMoreFiles = 18;
inline constexpr std::uint32_t kWriteProtect = 19;
inline constexpr std::uint32_t kGenFailure = 31;
inline constexpr std::uint32_t kSharingViolation = 32;
inline constexpr std::uint32_t kHandleEof = 38;
inline constexpr std::uint32_t kNotSupported = 50;
inline constexpr std::uint32_t kFileExists = 80;
inline constexpr std::uint32_t kInvalidParameter = 87;
inline constexpr std::uint32_t kDiskFull = 112;
inline constexpr std::uint32_t kInsufficientBuffer = 122;
inline constexpr std::uint32_t kInvalidName = 123;
inline constexpr std::uint32_t kNegativeSeek = 131;
inline constexpr std::uint32_t kDirNotEmpty = 145;
inline constexpr std::uint32_t kBusy = 170;
inline constexpr std::uint32_t kAlreadyExists = 183;
inline constexpr std::uint32_t kEnvVarNotFound = 203;
inline constexpr std::uint32_t kFilenameTooLong = 206;
inline constexpr std::uint32_t kFileTooLarge = 223;
inline constexpr std::uint32_t kDirectory = 267;
inline constexpr std::uint32_t kIoDevice = 1117;
inline constexpr std::uint32_t kCantResolveFilename = 1921;
}  // namespace win32err

// The code of this thread's last failed platform call. A call that succeeds does not change
// it unless its contract states otherwise.
std::uint32_t GetLastError() noexcept;
void SetLastError(std::uint32_t code) noexcept;

// The system's text for a Win32 code, or for an HRESULT that contains one, with the line
// break at its end; empty when the system has no text. As FormatMessageW returns it for the
// neutral language without inserts; English on Linux. Does not change the last error.
std::u16string SystemMessage(std::uint32_t code);

}  // namespace platform
