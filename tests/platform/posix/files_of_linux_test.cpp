// Behaviour on Linux only: last errors, links, devices, volumes, other processes.
#include <gtest/gtest.h>

#include <filesystem>
#include <thread>

#include "platform/files.h"
#include "support/child_process.h"
#include "support/port_files.h"
#include "support/temp_folder.h"

namespace {

using namespace platform;
using support::CodeOf;
using support::CTempFolder;

TEST(Errors, EachThreadHasItsOwnLastError) {
    SetLastError(5);
    std::thread([] { SetLastError(32); }).join();
    EXPECT_EQ(GetLastError(), 5U);
}

TEST(Files, ADriveIsNotCreatedAndNamesNeedNotBeText) {
    const CTempFolder folder;
    EXPECT_FALSE(CreateDirectoryW(u"C:") || std::filesystem::exists("C:"));
    EXPECT_EQ(CodeOf(support::OpenToWrite(u"C:\\new")), win32err::kPathNotFound);
    ASSERT_TRUE(support::WriteWhole(folder.Path() + u"/\xDCFF\xD800", "x"));
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
    const CTempFolder here, there(elsewhere);
    const std::u16string source = here.Path(u"f"), target = there.Path(u"f");
    ASSERT_TRUE(support::WriteWhole(source, "content") && support::WriteWhole(target, "old"));
    const std::pair<std::uint32_t, std::uint32_t> kFlagsAndCodes[] = {
        {kMoveReplaceExisting, 17},
        {kMoveCopyAllowed, 183},
        {kMoveCopyAllowed | kMoveReplaceExisting | kMoveWriteThrough, 0},
    };
    for (const auto& [flags, code] : kFlagsAndCodes) {
        EXPECT_EQ(support::ReadWhole(target), "old");
        EXPECT_EQ(CodeOf(MoveFileExW(source, target, flags)), code);
    }
    EXPECT_EQ(support::ReadWhole(target) + support::ReadWhole(source), "content<none>");
}

TEST(Files, AFullDiskIsReportedWithTheBytesWritten) {
    std::size_t count = 777;
    const CFileHandle full = support::OpenToWrite(u"/dev/full");
    EXPECT_EQ(CodeOf(WriteFile(full.Get(), "x", 1, count)), win32err::kDiskFull);
    EXPECT_EQ(count, 0U);

    const CTempFolder folder;
    const std::string data(10'000, 'x');
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"source"), data));
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"existing"), "old"));
    const auto fillDisk = [&] {
        support::LimitFileSize(4096);
        const CFileHandle file = support::OpenToWrite(folder.Path(u"f"));
        const bool isCut = !WriteFile(file.Get(), data.data(), data.size(), count) &&
                           count == 4096 && GetLastError() == win32err::kFileTooLarge;
        const bool fails = !CopyFileW(folder.Path(u"source"), folder.Path(u"target"), false) &&
                           GetLastError() == win32err::kFileTooLarge &&
                           !CopyFileW(folder.Path(u"source"), folder.Path(u"existing"), false);
        return isCut && fails ? 0 : 1;
    };
    EXPECT_EQ(support::RunInChild(fillDisk), 0);
    EXPECT_EQ(GetFileAttributesW(folder.Path(u"target")), kInvalidAttributes);
    EXPECT_NE(GetFileAttributesW(folder.Path(u"existing")), kInvalidAttributes);
    EXPECT_EQ(CodeOf(CopyFileW(folder.Path(u"source"), u"/dev/full", false)), win32err::kDiskFull);
}

TEST(Sharing, HoldsAcrossProcesses) {
    const support::CTempFolder folder;
    const std::u16string path = folder.Path(u"shared");
    const auto openInChild = [&](std::uint32_t access, std::uint32_t disposition) {
        return support::RunInChild([&] {
            return static_cast<int>(
                CodeOf(CFileHandle(CreateFileW(path, access, kShareRead, disposition, 0))));
        });
    };
    CFileHandle held = support::OpenToWrite(path);
    ASSERT_TRUE(support::Write(held, "content"));
    EXPECT_EQ(openInChild(kReadAttributes, kOpenExisting), 0);
    for (const int code : {32, 0}) {
        EXPECT_EQ(openInChild(kGenericRead, kOpenExisting), code);
        EXPECT_EQ(openInChild(kGenericWrite, kCreateAlways), code);
        EXPECT_EQ(support::ReadWhole(path), code == 0 ? "" : "content");
        held.Reset();
    }
}

}  // namespace
