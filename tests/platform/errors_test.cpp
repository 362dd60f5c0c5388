#include "platform/errors.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>

#include "platform/system.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace {

using namespace platform::win32err;

TEST(Errors, SystemTexts) {
    const struct {
        std::uint32_t code;
        const char16_t* text;  // null: none
        bool otherwiseOnWine = false;
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
        {0xA0070005U, nullptr, true},  // Wine takes any HRESULT of the facility
    };
    for (const auto& row : rows) {
        if (row.otherwiseOnWine && support::OnWine()) {
            continue;
        }
        platform::SetLastError(77);
        const std::u16string text = platform::SystemMessage(row.code);
        EXPECT_EQ(platform::GetLastError(), 77U) << row.code;
        // The words are the system's own elsewhere; that there are some is not.
        if (support::kOnLinux || row.text == nullptr) {
            EXPECT_EQ(text, row.text == nullptr ? u"" : row.text) << row.code;
        } else {
            EXPECT_TRUE(text.ends_with(u"\r\n")) << row.code;
        }
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
        const bool knownToWine = code != kFileTooLarge;
        if (knownToWine || !support::OnWine()) {
            EXPECT_NE(platform::SystemMessage(code), u"") << code;
        }
    }
}

// But for the two ways of opening that tell by it whether the file was there.
TEST(Errors, ASuccessLeavesTheLastErrorAlone) {
    using namespace platform;
    const support::CTempFolder folder;
    const std::u16string path = folder.Path(u"f");
    const std::u16string other = folder.Path(u"g");
    CFileHandle file(CreateFileW(path, kGenericRead | kGenericWrite, kShareRead, kCreateNew, 0));
    CFileHandle copy;
    FindData data;
    CFindHandle find;
    char byte = 0;
    std::size_t count = 0;
    std::int64_t number = 0;
    std::u16string text;
    char16_t buffer[4096];
    const struct {
        const char* label;
        std::function<bool()> act;
    } rows[] = {
        {"write", [&] { return WriteFile(file.Get(), "x", 1, count); }},
        {"flush", [&] { return FlushFileBuffers(file.Get()); }},
        {"read at the end", [&] { return ReadFile(file.Get(), &byte, 1, count); }},
        {"move", [&] { return SetFilePointerEx(file.Get(), 0, &number, EMoveMethod::Begin); }},
        {"read", [&] { return ReadFile(file.Get(), &byte, 1, count); }},
        {"size", [&] { return GetFileSizeEx(file.Get(), number); }},
        {"cut", [&] { return SetEndOfFile(file.Get()); }},
        {"times", [&] { return GetFileTime(file.Get(), &number, nullptr, nullptr); }},
        {"set times", [&] { return SetFileTime(file.Get(), nullptr, nullptr, &number); }},
        {"duplicate",
         [&] {
             copy.Reset(DuplicateHandle(file.Get()));
             return static_cast<bool>(copy);
         }},
        {"close", [&] { return CloseHandle(copy.Detach()) && CloseHandle(file.Detach()); }},
        {"attributes", [&] { return GetFileAttributesW(path) != kInvalidAttributes; }},
        {"set attributes", [&] { return SetFileAttributesW(path, kAttributeNormal); }},
        {"copy file", [&] { return CopyFileW(path, other, true); }},
        {"move file", [&] { return MoveFileExW(other, path, kMoveReplaceExisting); }},
        {"find",
         [&] {
             find.Reset(FindFirstFileW(folder.Path(u"*"), data));
             return static_cast<bool>(find);
         }},
        {"find next", [&] { return FindNextFileW(find.Get(), data); }},
        {"end of find", [&] { return FindClose(find.Detach()); }},
        {"delete", [&] { return DeleteFileW(path); }},
        {"make folder", [&] { return CreateDirectoryW(path); }},
        {"remove folder", [&] { return RemoveDirectoryW(path); }},
        {"module", [&] { return GetModuleFileNameW(OwnModule(), buffer, 4096) != 0; }},
        {"temporary folder", [&] { return GetTempPathW(text); }},
        {"environment", [&] { return GetEnvironmentVariableW(u"PATH", text); }},
    };
    for (const auto& row : rows) {
        SetLastError(77);
        const bool done = row.act();
        const std::uint32_t code = GetLastError();
        EXPECT_TRUE(done) << row.label << " " << code;
        EXPECT_EQ(code, 77U) << row.label;
    }
}

TEST(Errors, EachThreadHasItsOwnLastError) {
    // Nothing but spinning stands between the calls: starting and joining a thread are calls
    // of the system, which may have errors of their own.
    std::atomic<int> turn = 0;
    std::uint32_t seen = 77;
    std::thread other([&] {
        while (turn != 1) {
        }
        platform::SetLastError(32);
        turn = 2;
        while (turn != 3) {
        }
        seen = platform::GetLastError();
    });
    platform::SetLastError(5);
    turn = 1;
    while (turn != 2) {
    }
    const std::uint32_t own = platform::GetLastError();
    platform::SetLastError(6);
    turn = 3;
    other.join();
    EXPECT_EQ(own, 5U);
    EXPECT_EQ(seen, 32U);
}

}  // namespace
