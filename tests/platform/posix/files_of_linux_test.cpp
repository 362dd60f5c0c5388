// Files and folders as only this system has them: its paths, links, devices and volumes.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/files.h"
#include "support/child_process.h"
#include "support/port_files.h"
#include "support/temp_folder.h"

namespace {

using namespace platform;
using support::CodeOf;
using support::CTempFolder;

TEST(Files, PathsOfLinux) {
    const CTempFolder folder;
    const std::u16string base = folder.Path();
    ASSERT_TRUE(CreateDirectoryW(folder.Path(u"a")) &&
                support::WriteWhole(folder.Path(u"a/\x0436\xD83D\xDE00"), "x"));
    const struct {
        const char* label;
        std::u16string path;
        std::uint32_t code;
    } rows[] = {
        {"backslashes", base + u"\\a\\\x0436\xD83D\xDE00", 0},
        {"long form", u"\\\\?\\" + base + u"\\a/\x0436\xD83D\xDE00", 0},
        {"share", u"\\" + base + u"\\a\\\x0436\xD83D\xDE00", 0},
        {"share, long form", u"\\\\?\\UNC" + base + u"\\a\\\x0436\xD83D\xDE00", 0},
        {"other name", base + u"\\a\\\x0437", 2},
        {"drive", u"C:\\a", 3},
        {"drive, long form", u"\\\\?\\c:/a", 3},
        {"drive alone", u"z:", 3},
        {"colon elsewhere", u"zorel_none:\\a", 3},
        {"drive letter in a name", u"C:zorel_none", 2},
        {"empty", u"", 3},
        {"NUL", base + std::u16string(u"\0a", 2), 123},
        {"name too long", base + u"/" + std::u16string(300, u'n'), 206},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CodeOf(support::OpenToRead(row.path)), row.code) << row.label;
        EXPECT_EQ(CodeOf(GetFileAttributesW(row.path) != kInvalidAttributes), row.code)
            << row.label;
    }
    EXPECT_FALSE(CreateDirectoryW(u"C:"));
    EXPECT_FALSE(std::filesystem::exists("C:"));
    EXPECT_EQ(CodeOf(support::OpenToWrite(u"C:\\new")), win32err::kPathNotFound);
    // A name that is no text.
    const std::u16string stray = folder.Path() + u"/\xDCFF\xD800";
    ASSERT_TRUE(support::WriteWhole(stray, "x"));
    EXPECT_TRUE(std::filesystem::exists(folder.Native() / "\xFF\xED\xA0\x80"));
}

TEST(Folders, WalksOfATreeDoNotLeaveItThroughALink) {
    const CTempFolder folder;
    ASSERT_TRUE(CreateDirectoryW(folder.Path(u"kept")) &&
                support::WriteWhole(folder.Path(u"kept/file"), "12345"));
    std::filesystem::create_symlink("kept", folder.Native(u"to_folder"));
    std::filesystem::create_symlink("kept/file", folder.Native(u"to_file"));
    std::filesystem::create_symlink("nowhere", folder.Native(u"to_nothing"));
    FindData data;
    CFindHandle find(FindFirstFileW(folder.Path(u"to_folder"), data));
    EXPECT_EQ(data.attributes, kAttributeArchive);
    find.Reset(FindFirstFileW(folder.Path(u"to_file"), data));
    EXPECT_EQ(data.size, 5);
    EXPECT_EQ(CodeOf(support::OpenToRead(folder.Path(u"to_nothing"))), 2U);
    for (const char16_t* link : {u"to_folder", u"to_file", u"to_nothing"}) {
        EXPECT_TRUE(DeleteFileW(folder.Path(link)));
    }
    EXPECT_EQ(support::ReadWhole(folder.Path(u"kept/file")), "12345");
}

TEST(Folders, MovesToAnotherVolumeCopyWhenAllowed) {
    const std::filesystem::path elsewhere = "/dev/shm";
    if (!std::filesystem::is_directory(elsewhere)) {
        GTEST_SKIP() << "needs a second volume";
    }
    const CTempFolder here;
    const CTempFolder there(elsewhere);
    const std::u16string source = here.Path(u"f");
    const std::u16string target = there.Path(u"f");
    ASSERT_TRUE(support::WriteWhole(source, "content") && support::WriteWhole(target, "old"));
    const auto move = [&](std::uint32_t flags) {
        return CodeOf(MoveFileExW(source, target, flags));
    };
    EXPECT_EQ(move(kMoveReplaceExisting), 17U);
    EXPECT_EQ(move(kMoveCopyAllowed), 183U);
    EXPECT_EQ(support::ReadWhole(target), "old");
    EXPECT_EQ(move(kMoveCopyAllowed | kMoveReplaceExisting | kMoveWriteThrough), 0U);
    EXPECT_EQ(support::ReadWhole(target), "content");
    EXPECT_EQ(support::ReadWhole(source), "<none>");
}

constexpr std::size_t kUntouched = 777;

TEST(Files, AFullDiskIsReportedWithWhatReachedTheFile) {
    std::size_t count = kUntouched;
    const CFileHandle full = support::OpenToWrite(u"/dev/full");
    EXPECT_EQ(CodeOf(WriteFile(full.Get(), "x", 1, count)), win32err::kDiskFull);
    EXPECT_EQ(count, 0U);

    const CTempFolder folder;
    const std::string data(10'000, 'x');
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"source"), data));
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"existing"), "old"));
    const int failedStep = support::RunInChild([&] {
        support::LimitFileSize(4096);
        const CFileHandle file = support::OpenToWrite(folder.Path(u"f"));
        std::size_t written = 0;
        if (WriteFile(file.Get(), data.data(), data.size(), written) || written != 4096 ||
            GetLastError() != win32err::kFileTooLarge) {
            return 1;
        }
        const bool copied = CopyFileW(folder.Path(u"source"), folder.Path(u"target"), false);
        const std::uint32_t code = GetLastError();
        const bool again = CopyFileW(folder.Path(u"source"), folder.Path(u"existing"), false);
        return copied || again || code != win32err::kFileTooLarge ? 2 : 0;
    });
    EXPECT_EQ(failedStep, 0);
    EXPECT_EQ(GetFileAttributesW(folder.Path(u"target")), kInvalidAttributes);
    EXPECT_NE(GetFileAttributesW(folder.Path(u"existing")), kInvalidAttributes);
    EXPECT_EQ(CodeOf(CopyFileW(folder.Path(u"source"), u"/dev/full", false)), win32err::kDiskFull);
}

TEST(Sharing, HoldsAcrossProcesses) {
    const support::CTempFolder folder;
    const std::u16string path = folder.Path(u"shared");
    CFileHandle held = support::OpenToWrite(path);
    ASSERT_TRUE(held && support::Write(held, "content"));
    const auto readInChild = [&] {
        return support::RunInChild([&] {
            return static_cast<int>(
                CodeOf(CFileHandle(CreateFileW(path, kGenericRead, kShareRead, kOpenExisting, 0))));
        });
    };
    const auto createInChild = [&] {
        return support::RunInChild(
            [&] { return static_cast<int>(CodeOf(support::OpenToWrite(path))); });
    };
    EXPECT_EQ(readInChild(), 32);
    EXPECT_EQ(createInChild(), 32);
    EXPECT_EQ(support::RunInChild([&] {
                  return static_cast<int>(CodeOf(CFileHandle(
                      CreateFileW(path, kReadAttributes, kShareRead, kOpenExisting, 0))));
              }),
              0);
    EXPECT_EQ(support::ReadWhole(path), "content");
    held.Reset();
    EXPECT_EQ(readInChild(), 0);
    EXPECT_EQ(createInChild(), 0);
    EXPECT_EQ(support::ReadWhole(path), "");
}

}  // namespace
