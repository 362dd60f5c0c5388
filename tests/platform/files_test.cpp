// Open files: creation, transfers, positions, times, faults.
#include "platform/files.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/system.h"
#include "platform/times.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace {

using namespace platform;
using support::CodeOf;
using support::CTempFolder;

constexpr std::uint32_t kUntouched = 777;

TEST(Files, DispositionsAndTheirCodes) {
    constexpr std::uint32_t kRead = kGenericRead;
    constexpr std::uint32_t kWrite = kGenericWrite;
    constexpr std::uint32_t kFolder = kFlagBackupSemantics;
    const struct {
        const char16_t* name;
        std::uint32_t access;
        std::uint32_t disposition;
        std::uint32_t failure;                 // 0: opens
        std::uint32_t lastError = kUntouched;  // after a success
        std::uint32_t flags = 0;
        const char* content = "old";      // of "file" afterwards
        bool (*isDifferent)() = nullptr;  // on a system with another result
    } rows[] = {
        {u"new", kWrite, kCreateNew, 0},
        {u"file", kWrite, kCreateNew, 80},
        {u"folder", kWrite, kCreateNew, 80},
        {u"new", kWrite, kCreateAlways, 0, 0},
        {u"file", kWrite, kCreateAlways, 0, 183, 0, ""},
        {u"locked", kWrite, kCreateAlways, 5, 0, 0, "old", support::OnWineAsSuperuser},
        {u"folder", kWrite, kCreateAlways, 5},
        {u"new", kWrite, kOpenAlways, 0, 0},
        {u"file", kWrite, kOpenAlways, 0, 183},
        {u"file", kRead, kOpenExisting, 0},
        {u"locked", kRead, kOpenExisting, 0},
        {u"locked", kWrite, kOpenExisting, 5, 0, 0, "old", support::OnWineAsSuperuser},
        {u"new", kRead, kOpenExisting, 2},
        {u"no/new", kRead, kOpenExisting, 3},
        {u"file/new", kRead, kOpenExisting, 3},
        {u"folder", kRead, kOpenExisting, 5},
        {u"folder", kRead | kWrite, kOpenExisting, 0, kUntouched, kFolder},
        {u"folder", kWriteAttributes, kOpenExisting, 0, kUntouched, kFolder},
        {u"new", kReadAttributes, kOpenExisting, 2},
        {u"file", kRead, 9, 87},
    };
    for (const auto& row : rows) {
        if (row.isDifferent != nullptr && row.isDifferent()) {
            continue;
        }
        SCOPED_TRACE(&row - rows);
        const CTempFolder folder;
        ASSERT_TRUE(support::WriteWhole(folder.Path(u"file"), "old"));
        ASSERT_TRUE(support::WriteWhole(folder.Path(u"locked"), "") &&
                    SetFileAttributesW(folder.Path(u"locked"), kAttributeReadOnly));
        ASSERT_TRUE(CreateDirectoryW(folder.Path(u"folder")));
        SetLastError(kUntouched);
        const CFileHandle handle(
            CreateFileW(folder.Path(row.name), row.access, kShareRead, row.disposition, row.flags));
        EXPECT_EQ(CodeOf(handle), row.failure);
        EXPECT_TRUE(!handle || GetLastError() == row.lastError) << GetLastError();
        EXPECT_EQ(support::ReadWhole(folder.Path(u"file")), row.content);
    }
}

TEST(Files, Paths) {
    const CTempFolder folder;
    const std::u16string base = folder.Path();
    const std::u16string file = u"\\a\\\x0436\xD83D\xDE00";
    const std::u16string longPath = u"\\\\?\\" + base + u"\\" + std::u16string(200, u'n');
    ASSERT_TRUE(CreateDirectoryW(base + u"/a") && support::WriteWhole(base + file, "x"));
    ASSERT_TRUE(CreateDirectoryW(longPath));
    ASSERT_TRUE(support::WriteWhole(longPath + u"\\" + std::u16string(200, u'n'), "x"));
    constexpr int kBoth = 2;
    const struct {
        int system;  // kOnWindows, its opposite, or kBoth
        std::u16string path;
        std::uint32_t code;
    } rows[] = {
        {kBoth, base + u"/a/\x0436\xD83D\xDE00", 0},
        {kBoth, u"\\\\?\\" + base + file, 0},
        {kBoth, longPath + u"\\" + std::u16string(200, u'n'), 0},
        {kBoth, base + u"\\a\\\x0437", 2},
        {kBoth, u"", 3},
        {kBoth, base + std::u16string(u"\0a", 2), 123},
        {true, base + u"\\a\\\x0416\xD83D\xDE00", 0},
        {true, u"Q:\\a\\b", 3},
        {true, base + u"\\*", 123},
        {false, u"\\\\?\\" + base + u"\\a/\x0436\xD83D\xDE00", 0},
        {false, u"\\" + base + file, 0},
        {false, u"\\\\?\\UNC" + base + file, 0},
        {false, u"\\\\?\\unctmp", 2},  // not /tmp: no separator follows the prefix
        {false, u"C:\\a", 3},
        {false, u"\\\\?\\c:/a", 3},
        {false, u"z:", 3},
        {false, u"zorel_none:\\a", 3},
        {false, u"C:zorel_none", 2},
        {false, base + u"/" + std::u16string(300, u'n'), 206},
    };
    for (const auto& row : rows) {
        if (row.system == kBoth || row.system == support::kOnWindows) {
            SCOPED_TRACE(&row - rows);
            EXPECT_EQ(CodeOf(support::OpenToRead(row.path)), row.code);
            EXPECT_EQ(CodeOf(GetFileAttributesW(row.path) != kInvalidAttributes), row.code);
        }
    }
}

TEST(Files, MovesAndWritesReachBeyondTheEnd) {
    const CTempFolder folder;
    CFileHandle file = support::OpenToWrite(folder.Path(u"f"));
    const struct {
        std::int64_t distance;
        EMoveMethod method;
        std::int64_t position;
        std::string_view written;  // there; nothing: the file ends there
    } rows[] = {
        {2, EMoveMethod::Begin, 2, "abc"},
        {-1, EMoveMethod::Current, 4, "d"},
        {2, EMoveMethod::End, 7, ""},
        {-4, EMoveMethod::End, 3, "e"},
    };
    for (const auto& row : rows) {
        std::int64_t position = 0;
        EXPECT_TRUE(SetFilePointerEx(file.Get(), row.distance, &position, row.method));
        EXPECT_EQ(position, row.position);
        EXPECT_TRUE(row.written.empty() ? SetEndOfFile(file.Get())
                                        : support::Write(file, row.written));
    }
    EXPECT_TRUE(FlushFileBuffers(file.Get()));
    file.Reset();
    EXPECT_EQ(support::ReadWhole(folder.Path(u"f")), std::string("\0\0aed\0\0", 7));
}

TEST(Files, CallsNeedTheirRightsAndValidArguments) {
    const CTempFolder folder;
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"f"), "0123"));
    const CFileHandle reader = support::OpenToRead(folder.Path(u"f"));
    std::size_t count = 0;
    char buffer[1];
    std::int64_t position = kUntouched;
    if (!support::OnWine()) {  // where readers can set times
        EXPECT_EQ(CodeOf(SetFileTime(reader.Get(), nullptr, nullptr, &position)), 5U);
    }
    EXPECT_EQ(CodeOf(SetFilePointerEx(reader.Get(), -5, &position, EMoveMethod::End)), 131U);
    EXPECT_EQ(position, kUntouched);
    EXPECT_EQ(CodeOf(ReadFile(nullptr, buffer, 1, count)), 6U);
    EXPECT_EQ(CodeOf(CloseHandle(kInvalidFileHandle)), 6U);
}

TEST(Files, TimesSetOnAnOpenFileStay) {
    const CTempFolder folder;
    const std::u16string path = folder.Path(u"f");
    const std::int64_t set = 129'000'000'000'000'000 + 1'234'567;  // in 2009
    const std::int64_t zero = 0;
    const std::int64_t bad = -3;
    {
        CFileHandle file = support::OpenToWrite(path);
        ASSERT_TRUE(SetFileTime(file.Get(), &set, &set, &set));
        ASSERT_TRUE(support::Write(file, "content") && SetEndOfFile(file.Get()));
        ASSERT_TRUE(SetFileTime(file.Get(), &zero, &zero, &zero));
        // A duplicate shares the position and outlives the first handle.
        const CFileHandle second(DuplicateHandle(file.Get()));
        file.Reset();
        EXPECT_EQ(CodeOf(support::OpenToWrite(path)), win32err::kSharingViolation);
        ASSERT_TRUE(support::Write(second, " and more"));
        EXPECT_EQ(CodeOf(SetFileTime(second.Get(), nullptr, nullptr, &bad)), 87U);
    }
    EXPECT_EQ(support::ReadWhole(path), "content and more");
    const CFileHandle look(CreateFileW(path, kReadAttributes, 7, kOpenExisting, 0));
    std::int64_t creation = 0;
    std::int64_t access = 0;
    std::int64_t write = 0;
    ASSERT_TRUE(GetFileTime(look.Get(), &creation, &access, &write));
    EXPECT_TRUE(!support::KeepsSetTimes() || (write == set && creation <= set));
    // A write changes a time that was not set.
    const CFileHandle file = support::OpenToWrite(path, kOpenExisting);
    ASSERT_TRUE(SetFileTime(file.Get(), nullptr, &set, nullptr) && support::Write(file, "new"));
    ASSERT_TRUE(GetFileTime(look.Get(), nullptr, &access, &write));
    EXPECT_TRUE(access == set && write > set + kTicksPerSecond);
}

}  // namespace
