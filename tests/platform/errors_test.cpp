#include "platform/errors.h"

#include <gtest/gtest.h>

#include "platform/system.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace platform {
namespace {

TEST(Errors, SystemTexts) {
    const struct {
        std::uint32_t code;
        std::u16string_view text;
    } rows[] = {
        {0, u"The operation completed successfully.\r\n"},
        {2, u"The system cannot find the file specified.\r\n"},
        {32,
         u"The process cannot access the file because it is being used by another process.\r\n"},
        {1921, u"The name of the file cannot be resolved by the system.\r\n"},
        {0x80070005U, u"Access is denied.\r\n"},
        {35, u""},
        {0x00070005U, u""},
        {0x80020006U, u""},
    };
    for (const auto& row : rows) {
        SetLastError(77);
        const std::u16string text = SystemMessage(row.code);
        EXPECT_EQ(GetLastError(), 77U) << row.code;
        // Windows has its own wording.
        const bool isSame = support::kOnLinux || row.text.empty();
        EXPECT_TRUE(isSame ? text == row.text : text.ends_with(u"\r\n")) << row.code;
    }
    // The codes that the platform layer reports. Wine has no text for 223.
    for (const std::uint32_t code :
         {2,  3,  4,   5,   6,   8,   13,  17,  18,  19,  31,  32,  38,  50,
          80, 87, 112, 122, 123, 131, 145, 170, 183, 203, 206, 267, 1117}) {
        EXPECT_NE(SystemMessage(code), u"") << code;
    }
}

// The exceptions are the two dispositions that report whether the file existed.
TEST(Errors, ASuccessDoesNotChangeTheLastError) {
    const support::CTempFolder folder;
    const std::u16string path = folder.Path(u"f");
    const std::u16string other = folder.Path(u"g");
    CFileHandle file(CreateFileW(path, kGenericRead | kGenericWrite, kShareRead, kCreateNew, 0));
    FindData data;
    CFindHandle find;
    CFileHandle copy;
    char byte = 0;
    std::size_t count = 0;
    std::int64_t number = 0;
    std::u16string text;
    char16_t buffer[4096];
    const auto check = [](int line, auto act) {
        SetLastError(77);
        const bool done = act();
        const std::uint32_t code = GetLastError();
        EXPECT_TRUE(done && code == 77) << "line " << line << ", code " << code;
    };
#define ZOREL_CHECK(call) check(__LINE__, [&]() -> bool { return call; })
    ZOREL_CHECK(WriteFile(file.Get(), "x", 1, count));
    ZOREL_CHECK(FlushFileBuffers(file.Get()));
    ZOREL_CHECK(ReadFile(file.Get(), &byte, 1, count));
    ZOREL_CHECK(SetFilePointerEx(file.Get(), 0, &number, EMoveMethod::Begin));
    ZOREL_CHECK(ReadFile(file.Get(), &byte, 1, count));
    ZOREL_CHECK(GetFileSizeEx(file.Get(), number));
    ZOREL_CHECK(SetEndOfFile(file.Get()));
    ZOREL_CHECK(GetFileTime(file.Get(), &number, nullptr, nullptr));
    ZOREL_CHECK(SetFileTime(file.Get(), nullptr, nullptr, &number));
    ZOREL_CHECK((copy.Reset(DuplicateHandle(file.Get())), static_cast<bool>(copy)));
    ZOREL_CHECK(CloseHandle(copy.Detach()) && CloseHandle(file.Detach()));
    ZOREL_CHECK(GetFileAttributesW(path) != kInvalidAttributes);
    ZOREL_CHECK(SetFileAttributesW(path, kAttributeNormal));
    ZOREL_CHECK(CopyFileW(path, other, true));
    ZOREL_CHECK(MoveFileExW(other, path, kMoveReplaceExisting));
    ZOREL_CHECK((find.Reset(FindFirstFileW(folder.Path(u"*"), data)), static_cast<bool>(find)));
    ZOREL_CHECK(FindNextFileW(find.Get(), data));
    ZOREL_CHECK(FindClose(find.Detach()));
    ZOREL_CHECK(DeleteFileW(path));
    ZOREL_CHECK(CreateDirectoryW(path));
    ZOREL_CHECK(RemoveDirectoryW(path));
    ZOREL_CHECK(GetModuleFileNameW(OwnModule(), buffer, 4096) != 0);
    ZOREL_CHECK(GetTempPathW(text));
    ZOREL_CHECK(GetEnvironmentVariableW(u"PATH", text));
#undef ZOREL_CHECK
}

}  // namespace
}  // namespace platform
