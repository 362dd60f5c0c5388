// Who may open a file beside whom.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/files.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace {

using namespace platform;
using support::CodeOf;

struct Way {
    const char* label;
    std::uint32_t access;
    std::uint32_t share;
    std::uint32_t disposition;
    bool onLinuxOnly;
};

constexpr Way kWays[] = {
    {"reader", kGenericRead, kShareRead, kOpenExisting, false},
    {"reader beside writers", kGenericRead, kShareRead | kShareWrite, kOpenExisting, false},
    {"writer", kGenericWrite, kShareRead, kOpenExisting, false},
    {"reader and writer", kGenericRead | kGenericWrite, kShareRead, kOpenExisting, false},
    {"creator", kGenericWrite, kShareRead, kCreateAlways, false},
    {"opener or creator", kGenericWrite, kShareRead, kOpenAlways, false},
    {"attributes read", kReadAttributes, kShareRead | kShareWrite, kOpenExisting, false},
    {"attributes written", kWriteAttributes, kShareRead | kShareWrite, kOpenExisting, false},
    {"generous writer", kGenericWrite, kShareRead | kShareWrite, kOpenExisting, true},
};

CFileHandle Open(const std::u16string& path, const Way& way) {
    return CFileHandle(CreateFileW(path, way.access, way.share, way.disposition, kAttributeNormal));
}

// The documented rule: the access of each is in the sharing of the other. On Linux a writer
// admits no second writer whatever both share.
bool Exclude(const Way& a, const Way& b) {
    const auto reads = [](const Way& way) { return (way.access & kGenericRead) != 0; };
    const auto writes = [](const Way& way) { return (way.access & kGenericWrite) != 0; };
    const auto refuses = [&](const Way& one, const Way& other) {
        return (reads(one) && (other.share & kShareRead) == 0) ||
               (writes(one) && (other.share & kShareWrite) == 0);
    };
    const bool attributesOnly = (!reads(a) && !writes(a)) || (!reads(b) && !writes(b));
    return !attributesOnly && ((writes(a) && writes(b)) || refuses(a, b) || refuses(b, a));
}

TEST(Sharing, AllPairs) {
    const support::CTempFolder folder;
    const std::u16string path = folder.Path(u"shared");
    for (const Way& first : kWays) {
        for (const Way& second : kWays) {
            if ((first.onLinuxOnly || second.onLinuxOnly) && !support::kOnLinux) {
                continue;
            }
            ASSERT_TRUE(support::WriteWhole(path, "content"));
            const CFileHandle one = Open(path, first);
            ASSERT_TRUE(one) << first.label;
            const std::string before = support::ReadWhole(path);
            const std::uint32_t code = CodeOf(Open(path, second));
            const bool excluded = Exclude(first, second);
            EXPECT_EQ(code, excluded ? win32err::kSharingViolation : 0)
                << first.label << ", then " << second.label;
            if (excluded) {
                EXPECT_EQ(support::ReadWhole(path), before)
                    << first.label << ", then " << second.label;
            }
        }
    }
}

TEST(Sharing, AReaderThatSharesNothingIsAlone) {
    const support::CTempFolder folder;
    const std::u16string path = folder.Path(u"shared");
    ASSERT_TRUE(support::WriteWhole(path, "content"));
    const Way alone{"alone", kGenericRead, 0, kOpenExisting, false};
    CFileHandle held = Open(path, alone);
    ASSERT_TRUE(held);
    EXPECT_EQ(CodeOf(Open(path, kWays[0])), win32err::kSharingViolation);
    EXPECT_EQ(CodeOf(Open(path, alone)), win32err::kSharingViolation);
    held.Reset();
    EXPECT_EQ(CodeOf(Open(path, alone)), 0U);
}

TEST(Sharing, AFileInUseKeepsItsName) {
    const support::CTempFolder folder;
    const std::u16string held = folder.Path(u"held");
    const std::u16string other = folder.Path(u"other");
    const struct {
        const char* label;
        std::function<bool()> act;
        std::uint32_t code;
    } kRows[] = {
        {"replace", [&] { return MoveFileExW(other, held, kMoveReplaceExisting); }, 5},
        {"rename", [&] { return MoveFileExW(held, folder.Path(u"free"), 0); }, 32},
        {"rename onto", [&] { return MoveFileExW(held, other, kMoveReplaceExisting); }, 32},
        {"delete", [&] { return DeleteFileW(held); }, 32},
    };
    for (const auto& row : kRows) {
        for (const Way& way : {kWays[0], kWays[2]}) {
            const bool excluded = way.access == kGenericWrite || !support::kOnLinux;
            ASSERT_TRUE(support::WriteWhole(held, "held") && support::WriteWhole(other, "other"));
            CFileHandle handle = Open(held, way);
            EXPECT_EQ(CodeOf(row.act()), excluded ? row.code : 0) << row.label << ", " << way.label;
            handle.Reset();
            if (excluded) {
                EXPECT_EQ(support::ReadWhole(held), "held") << row.label << ", " << way.label;
                EXPECT_TRUE(row.act()) << row.label << ", " << way.label;
            }
            DeleteFileW(folder.Path(u"free"));
        }
    }
}

// The name changes its file all the time: never do two hold the file that the name means.
TEST(Sharing, ANameHasOneWriterEvenWhileItsFileIsReplaced) {
    const support::CTempFolder folder;
    const std::u16string path = folder.Path(u"contended");
    std::atomic<int> holders = 0;
    std::atomic<int> held = 0;
    std::atomic<int> doubles = 0;
    const auto contend = [&] {
        for (int round = 0; round < 4000; ++round) {
            const CFileHandle file = support::OpenToWrite(path);
            if (!file) {
                continue;
            }
            ++held;
            doubles += ++holders != 1 ? 1 : 0;
            std::this_thread::yield();
            --holders;
            std::error_code ignored;
            std::filesystem::remove(folder.Native(u"contended"), ignored);
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back(contend);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(doubles, 0);
    EXPECT_GT(held, 100);
}

}  // namespace
