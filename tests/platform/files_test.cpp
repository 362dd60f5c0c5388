// Open files: creation, transfers, positions, times, faults.
#include "platform/files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

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
    constexpr std::uint32_t kBackup = kFlagBackupSemantics;
    const struct {
        const char* label;
        const char16_t* name;
        std::uint32_t access;
        std::uint32_t disposition;
        std::uint32_t flags;
        std::uint32_t failure;          // 0: opens
        std::uint32_t lastError;        // after a success
        const char* content;            // of "file" afterwards
        bool (*otherwise)() = nullptr;  // where the system is known to differ
    } rows[] = {
        {"new", u"new", kGenericWrite, kCreateNew, 0, 0, kUntouched, "old"},
        {"new on existing", u"file", kGenericWrite, kCreateNew, 0, 80, 0, "old"},
        {"new on folder", u"folder", kGenericWrite, kCreateNew, 0, 80, 0, "old"},
        {"always, missing", u"new", kGenericWrite, kCreateAlways, 0, 0, 0, "old"},
        {"always, existing", u"file", kGenericWrite, kCreateAlways, 0, 0, 183, ""},
        {"always, read-only", u"locked", kGenericWrite, kCreateAlways, 0, 5, 0, "old",
         support::OnWineAsSuperuser},
        {"always, folder", u"folder", kGenericWrite, kCreateAlways, 0, 5, 0, "old"},
        {"open always, missing", u"new", kGenericWrite, kOpenAlways, 0, 0, 0, "old"},
        {"open always, existing", u"file", kGenericWrite, kOpenAlways, 0, 0, 183, "old"},
        {"open", u"file", kGenericRead, kOpenExisting, 0, 0, kUntouched, "old"},
        {"open read-only to read", u"locked", kGenericRead, kOpenExisting, 0, 0, kUntouched, "old"},
        {"open read-only to write", u"locked", kGenericWrite, kOpenExisting, 0, 5, 0, "old",
         support::OnWineAsSuperuser},
        {"open missing", u"new", kGenericRead, kOpenExisting, 0, 2, 0, "old"},
        {"missing folder", u"no/new", kGenericRead, kOpenExisting, 0, 3, 0, "old"},
        {"create in missing folder", u"no/new", kGenericWrite, kCreateAlways, 0, 3, 0, "old"},
        {"below a file", u"file/new", kGenericRead, kOpenExisting, 0, 3, 0, "old"},
        {"folder", u"folder", kGenericRead, kOpenExisting, 0, 5, 0, "old"},
        {"folder as such", u"folder", kGenericRead, kOpenExisting, kBackup, 0, kUntouched, "old"},
        {"folder to write", u"folder", kGenericRead | kGenericWrite, kOpenExisting, kBackup, 0,
         kUntouched, "old"},
        {"folder's times", u"folder", kWriteAttributes, kOpenExisting, kBackup, 0, kUntouched,
         "old"},
        {"attributes of missing", u"new", kReadAttributes, kOpenExisting, 0, 2, 0, "old"},
        {"no such disposition", u"file", kGenericRead, 9, 0, 87, 0, "old"},
    };
    for (const auto& row : rows) {
        if (row.otherwise != nullptr && row.otherwise()) {
            continue;
        }
        const CTempFolder folder;
        ASSERT_TRUE(support::WriteWhole(folder.Path(u"file"), "old"));
        ASSERT_TRUE(support::WriteWhole(folder.Path(u"locked"), "") &&
                    SetFileAttributesW(folder.Path(u"locked"), kAttributeReadOnly));
        ASSERT_TRUE(CreateDirectoryW(folder.Path(u"folder")));
        SetLastError(kUntouched);
        const CFileHandle handle(
            CreateFileW(folder.Path(row.name), row.access, kShareRead, row.disposition, row.flags));
        EXPECT_EQ(CodeOf(handle), row.failure) << row.label;
        if (handle) {
            EXPECT_EQ(GetLastError(), row.lastError) << row.label;
        }
        EXPECT_EQ(support::ReadWhole(folder.Path(u"file")), row.content) << row.label;
    }
}

// Random work on a file against a string that does the same.
TEST(Files, TransfersPositionsAndSizesFollowThePlainModel) {
    const CTempFolder folder;
    std::mt19937 random(5);
    const CFileHandle file(CreateFileW(folder.Path(u"f"), kGenericRead | kGenericWrite, kShareRead,
                                       kCreateNew, kAttributeNormal));
    ASSERT_TRUE(file);
    std::string model;
    std::size_t position = 0;
    for (int round = 0; round < 3000; ++round) {
        const std::size_t length = random() % 300;
        std::size_t count = 0;
        std::int64_t told = -1;
        switch (random() % 4) {
            case 0: {
                const std::string data(length, static_cast<char>('a' + round % 26));
                ASSERT_TRUE(WriteFile(file.Get(), data.data(), length, count));
                ASSERT_EQ(count, length);
                if (length > 0) {
                    model.resize(std::max(model.size(), position + length));
                    model.replace(position, length, data);
                }
                position += length;
                break;
            }
            case 1: {
                std::string data(length, '?');
                ASSERT_TRUE(ReadFile(file.Get(), data.data(), length, count));
                const std::string expected =
                    position < model.size() ? model.substr(position, length) : std::string();
                ASSERT_EQ(data.substr(0, count), expected);
                position += count;
                break;
            }
            case 2: {
                const auto target = static_cast<std::int64_t>(random() % 3000);
                const EMoveMethod method = static_cast<EMoveMethod>(random() % 3);
                const std::int64_t bases[] = {0, static_cast<std::int64_t>(position),
                                              static_cast<std::int64_t>(model.size())};
                ASSERT_TRUE(SetFilePointerEx(file.Get(), target - bases[static_cast<int>(method)],
                                             &told, method));
                ASSERT_EQ(told, target);
                position = static_cast<std::size_t>(target);
                break;
            }
            default:
                ASSERT_TRUE(SetEndOfFile(file.Get()));
                model.resize(position);
        }
        ASSERT_TRUE(GetFileSizeEx(file.Get(), told));
        ASSERT_EQ(told, static_cast<std::int64_t>(model.size())) << round;
    }
    EXPECT_TRUE(FlushFileBuffers(file.Get()));
    EXPECT_EQ(support::ReadWhole(folder.Path(u"f")), model);
}

TEST(Files, CallsRefuseWhatTheHandleDoesNotAllow) {
    const CTempFolder folder;
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"f"), "0123"));
    const CFileHandle reader = support::OpenToRead(folder.Path(u"f"));
    std::size_t count = 0;
    char buffer[8];
    std::int64_t position = kUntouched;
    const std::int64_t time = kTicksPerSecond * 86400 * 365 * 400;
    EXPECT_EQ(CodeOf(WriteFile(reader.Get(), "x", 1, count)), 5U);
    EXPECT_EQ(CodeOf(SetEndOfFile(reader.Get())), support::OnWine() ? 87U : 5U);
    EXPECT_EQ(CodeOf(FlushFileBuffers(reader.Get())), 5U);
    if (!support::OnWine()) {  // whose readers set times
        EXPECT_EQ(CodeOf(SetFileTime(reader.Get(), nullptr, nullptr, &time)), 5U);
    }
    EXPECT_EQ(CodeOf(SetFilePointerEx(reader.Get(), -1, &position, EMoveMethod::Begin)), 131U);
    EXPECT_EQ(CodeOf(SetFilePointerEx(reader.Get(), -5, &position, EMoveMethod::End)), 131U);
    EXPECT_EQ(position, kUntouched);
    EXPECT_EQ(CodeOf(ReadFile(nullptr, buffer, 1, count)), 6U);
    EXPECT_EQ(CodeOf(CloseHandle(kInvalidFileHandle)), 6U);
    EXPECT_EQ(support::ReadWhole(folder.Path(u"f")), "0123");
    const CFileHandle writer = support::OpenToWrite(folder.Path(u"g"));
    EXPECT_EQ(CodeOf(ReadFile(writer.Get(), buffer, 1, count)), 5U);
}

TEST(Files, TimesSetOnAnOpenFileStay) {
    const CTempFolder folder;
    const std::u16string path = folder.Path(u"f");
    const std::int64_t set = 129'000'000'000'000'000 + 1'234'567;  // in 2009
    std::int64_t access = 0;
    std::int64_t write = 0;
    {
        const CFileHandle file = support::OpenToWrite(path);
        ASSERT_TRUE(SetFileTime(file.Get(), &set, &set, &set));
        ASSERT_TRUE(support::Write(file, "content"));
        ASSERT_TRUE(SetEndOfFile(file.Get()));
        const std::int64_t zero = 0;
        ASSERT_TRUE(SetFileTime(file.Get(), &zero, &zero, &zero));
        const CFileHandle second(DuplicateHandle(file.Get()));
        ASSERT_TRUE(support::Write(second, " and more"));
        const std::int64_t bad = -3;
        EXPECT_EQ(CodeOf(SetFileTime(file.Get(), nullptr, nullptr, &bad)), 87U);
    }
    EXPECT_EQ(support::ReadWhole(path), "content and more");
    const CFileHandle look(CreateFileW(path, kReadAttributes, 7, kOpenExisting, 0));
    std::int64_t creation = 0;
    ASSERT_TRUE(GetFileTime(look.Get(), &creation, &access, &write));
    if (support::KeepsSetTimes()) {
        EXPECT_EQ(write, set);
        EXPECT_LE(creation, set);
    }
    // A time that was not set follows the writes.
    const CFileHandle file = support::OpenToWrite(path, kOpenExisting);
    ASSERT_TRUE(SetFileTime(file.Get(), nullptr, &set, nullptr) && support::Write(file, "new"));
    ASSERT_TRUE(GetFileTime(look.Get(), nullptr, &access, &write));
    EXPECT_EQ(access, set);
    EXPECT_NEAR(static_cast<double>(write), static_cast<double>(GetSystemTimeAsTicks()),
                60.0 * kTicksPerSecond);
    // Folders and files opened for their times only.
    for (const std::u16string& name : {path, folder.Path()}) {
        const CFileHandle times(CreateFileW(name, kReadAttributes | kWriteAttributes, 7,
                                            kOpenExisting, kFlagBackupSemantics));
        ASSERT_TRUE(SetFileTime(times.Get(), nullptr, nullptr, &set));
        ASSERT_TRUE(GetFileTime(times.Get(), nullptr, nullptr, &write));
        EXPECT_EQ(write, set);
    }
}

}  // namespace
