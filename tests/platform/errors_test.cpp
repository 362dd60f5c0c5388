#include "platform/errors.h"

#include <gtest/gtest.h>

#include <thread>

#include "support/target.h"

namespace {

using namespace platform::win32err;

TEST(Errors, SystemTexts) {
    const struct {
        std::uint32_t code;
        const char16_t* text;  // null: none
    } rows[] = {
        {kSuccess, u"The operation completed successfully.\r\n"},
        {kFileNotFound, u"The system cannot find the file specified.\r\n"},
        {kPathNotFound, u"The system cannot find the path specified.\r\n"},
        {kAccessDenied, u"Access is denied.\r\n"},
        {kSharingViolation,
         u"The process cannot access the file because it is being used by another process.\r\n"},
        {kDiskFull, u"There is not enough space on the disk.\r\n"},
        {1705, u"The string universal unique identifier (UUID) is invalid.\r\n"},
        {0x80070005U, u"Access is denied.\r\n"},
        {0x80070057U, u"The parameter is incorrect.\r\n"},
        {35, nullptr},
        {0x00070005U, nullptr},
        {0x80020006U, nullptr},
        {0xA0070005U, nullptr},
    };
    for (const auto& row : rows) {
        platform::SetLastError(77);
        const std::u16string text = platform::SystemMessage(row.code);
        // The words are the system's own elsewhere; that there are some is not.
        if (support::kOnLinux || row.text == nullptr) {
            EXPECT_EQ(text, row.text == nullptr ? u"" : row.text) << row.code;
        } else {
            EXPECT_TRUE(text.ends_with(u"\r\n")) << row.code;
        }
        EXPECT_EQ(platform::GetLastError(), 77U) << row.code;
    }
}

TEST(Errors, EveryNamedCodeHasAText) {
    for (const std::uint32_t code : {kFileNotFound,       kPathNotFound,       kTooManyOpenFiles,
                                     kAccessDenied,       kInvalidHandle,      kNotEnoughMemory,
                                     kNotSameDevice,      kNoMoreFiles,        kWriteProtect,
                                     kGenFailure,         kSharingViolation,   kHandleEof,
                                     kNotSupported,       kFileExists,         kInvalidParameter,
                                     kDiskFull,           kInsufficientBuffer, kInvalidName,
                                     kNegativeSeek,       kDirNotEmpty,        kBusy,
                                     kAlreadyExists,      kEnvVarNotFound,     kFilenameTooLong,
                                     kFileTooLarge,       kDirectory,          kIoDevice,
                                     kCantResolveFilename}) {
        EXPECT_NE(platform::SystemMessage(code), u"") << code;
    }
}

TEST(Errors, EachThreadHasItsOwnLastError) {
    platform::SetLastError(5);
    std::uint32_t seen = 77;
    std::thread([&] {
        platform::SetLastError(32);
        seen = platform::GetLastError();
    }).join();
    EXPECT_EQ(seen, 32U);
    EXPECT_EQ(platform::GetLastError(), 5U);
}

}  // namespace
