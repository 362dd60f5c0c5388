// The calling thread's last error, in Win32 codes on every system, and the system's
// texts for them.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

// The Win32 error codes that the engines, their tests and the port name.
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

// The code of this thread's last failed call of the port. Calls that succeed leave it
// alone unless their contract says otherwise.
std::uint32_t GetLastError() noexcept;
void SetLastError(std::uint32_t code) noexcept;

// The system's text for a Win32 code or for an HRESULT made of one, with the line break
// that the system puts at its end; empty when it has none (FormatMessageW from the system,
// neutral language, without ignoring inserts). English on Linux. Leaves the last error alone.
std::u16string SystemMessage(std::uint32_t code);

}  // namespace platform
