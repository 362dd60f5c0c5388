#include "platform/system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "platform/times.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace {

using namespace platform;
using support::CodeOf;

TEST(System, ModulePathsAreCutToTheBuffer) {
    char16_t own[4096];
    const std::uint32_t length = GetModuleFileNameW(nullptr, own, 4096);
    const std::u16string path(own, length);
    EXPECT_TRUE(std::filesystem::path(path).is_absolute());
    EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::path(path)));
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

TEST(System, TemporaryFolderAndEnvironment) {
    std::u16string text;
    char16_t module[4096];
    SetLastError(77);
    EXPECT_TRUE(GetModuleFileNameW(OwnModule(), module, 4096) != 0 && GetTempPathW(text));
    EXPECT_EQ(GetLastError(), 77U);
    EXPECT_TRUE(text.ends_with(support::kOnWindows ? u'\\' : u'/'));
    EXPECT_TRUE(std::filesystem::is_directory(std::filesystem::path(text)));
    SetLastError(77);
    EXPECT_TRUE(GetEnvironmentVariableW(u"PATH", text) && !text.empty());
    EXPECT_EQ(GetLastError(), 77U);
    EXPECT_EQ(CodeOf(GetEnvironmentVariableW(u"ZOREL_NO_SUCH_VARIABLE", text)), 203U);
}

TEST(System, ADuplicateSharesThePositionAndOutlivesTheFirst) {
    const support::CTempFolder folder;
    CFileHandle first = support::OpenToWrite(folder.Path(u"f"));
    SetLastError(77);
    const CFileHandle second(DuplicateHandle(first.Get()));
    ASSERT_TRUE(support::Write(first, "ab"));
    first.Reset();
    EXPECT_EQ(GetLastError(), 77U);
    ASSERT_TRUE(support::Write(second, "cd"));
    EXPECT_EQ(support::ReadWhole(folder.Path(u"f")), "abcd");
    EXPECT_EQ(CodeOf(support::OpenToWrite(folder.Path(u"f"))), win32err::kSharingViolation);
}

TEST(System, ProgramsStartWithTheirArguments) {
    const support::CTempFolder folder;
    EXPECT_EQ(CodeOf(StartProgram(folder.Path(u"none"), u"")), 2U);
    const std::u16string made = folder.Path(u"made");
    std::u16string shell = u"/bin/sh";
    std::u16string arguments = u"-c  \"printf '<%s>' $0 $# > " + made + u"\" a\t\"b c\" d\"\"e ";
    std::string expected = "<a><2>";
    if (support::kOnWindows) {
        ASSERT_TRUE(GetEnvironmentVariableW(u"ComSpec", shell));
        arguments = u"/c echo a \"b c\"> " + made;
        expected = "a \"b c\"\r\n";
    }
    ASSERT_TRUE(StartProgram(shell, arguments));
    for (int i = 0; i < 500 && support::ReadWhole(made) != expected; ++i) {
        Sleep(10);
    }
    EXPECT_EQ(support::ReadWhole(made), expected);
}

TEST(System, VersionsOfFiles) {
    const support::CTempFolder folder;
    FileVersion version;
    EXPECT_EQ(ReadFileVersion(folder.Path(u"none"), version), EVersionStep::Size);
    EXPECT_EQ(GetLastError(), 2U);
    if (support::kOnLinux) {  // where files have no version
        EXPECT_EQ(ReadFileVersion(folder.Path(), version), EVersionStep::Size);
        EXPECT_EQ(GetLastError(), 50U);
        return;
    }
    std::u16string system;
    ASSERT_TRUE(GetEnvironmentVariableW(u"SystemRoot", system));
    EXPECT_EQ(ReadFileVersion(system + u"\\system32\\kernel32.dll", version), EVersionStep::Done);
    EXPECT_GE(version.major, 6);
}

}  // namespace
