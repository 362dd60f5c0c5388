#include "platform/system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "platform/errors.h"
#include "platform/times.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace {

using namespace platform;
using support::CodeOf;

TEST(Errors, SystemTexts) {
    const struct {
        std::uint32_t code;
        std::u16string_view text;
    } rows[] = {
        {0, u"The operation completed successfully.\r\n"},
        {2, u"The system cannot find the file specified.\r\n"},
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

TEST(System, ModulePathsAreCutToTheBuffer) {
    char16_t own[4096];
    const std::uint32_t length = GetModuleFileNameW(nullptr, own, 4096);
    const std::u16string path(own, length);
    EXPECT_TRUE(std::filesystem::is_regular_file(path) && path.find_first_of(u"/\\") < 3);
    // The code under test is part of the program.
    EXPECT_EQ(std::u16string(own, GetModuleFileNameW(OwnModule(), own, 4096)), path);
    for (const std::uint32_t size : {1U, length, length + 1}) {
        std::fill(std::begin(own), std::end(own), u'#');
        EXPECT_EQ(GetModuleFileNameW(nullptr, own, size), std::min(size, length));
        EXPECT_EQ(std::u16string(own), path.substr(0, size - 1));
        EXPECT_EQ(own[size], u'#');
    }
    EXPECT_EQ(GetModuleFileNameW(nullptr, own, 0), 0U);
    EXPECT_EQ(GetModuleFileNameW(&own, own, 4096), 0U);
}

TEST(System, ProgramsStartWithTheirArguments) {
    const support::CTempFolder folder;
    EXPECT_EQ(CodeOf(StartProgram(folder.Path(u"none"), u"")), 2U);
    const std::u16string made = folder.Path(u"made");
    std::u16string shell = u"/bin/sh";
    std::u16string arguments =
        u"-c  \"sleep 1; printf '<%s>' $0 $# > " + made + u"\" a\t\"b c\" d\"\"e ";
    std::string expected = "<a><2>";
    if (support::kOnWindows) {
        ASSERT_TRUE(GetEnvironmentVariableW(u"ComSpec", shell));
        arguments = u"/c echo a \"b c\"> " + made;
        expected = "a \"b c\"\r\n";
    }
    ASSERT_TRUE(StartProgram(shell, arguments));
    EXPECT_TRUE(support::kOnWindows || support::ReadWhole(made) != expected);  // does not wait
    for (int i = 0; i < 500 && support::ReadWhole(made) != expected; ++i) {
        Sleep(10);
    }
    EXPECT_EQ(support::ReadWhole(made), expected);
}

TEST(System, VersionsOfFiles) {
    FileVersion version;
    EXPECT_EQ(ReadFileVersion(u"zorel_none", version), EVersionStep::Size);
    EXPECT_EQ(GetLastError(), 2U);
    if (support::kOnWindows) {
        std::u16string system;
        ASSERT_TRUE(GetEnvironmentVariableW(u"SystemRoot", system));
        EXPECT_EQ(ReadFileVersion(system + u"\\system32\\kernel32.dll", version),
                  EVersionStep::Done);
        EXPECT_GE(version.major, 6);
    }
}

}  // namespace
