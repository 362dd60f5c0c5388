// Which opens of one file exclude each other.
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

struct Mode {
    std::uint32_t access;
    std::uint32_t share;
    std::uint32_t disposition = kOpenExisting;
};

constexpr std::uint32_t kShareBoth = kShareRead | kShareWrite;
constexpr Mode kReader = {kGenericRead, kShareRead};
constexpr Mode kWriter = {kGenericWrite, kShareRead};

CFileHandle Open(const std::u16string& path, const Mode& mode) {
    return CFileHandle(
        CreateFileW(path, mode.access, mode.share, mode.disposition, kAttributeNormal));
}

// The documented rule: the access of each is in the sharing of the other. On Linux a second
// writer is always excluded, and a reader that shares writing never is.
bool Exclude(const Mode& a, const Mode& b) {
    const auto reads = [](const Mode& mode) { return (mode.access & kGenericRead) != 0; };
    const auto writes = [](const Mode& mode) { return (mode.access & kGenericWrite) != 0; };
    const auto refuses = [&](const Mode& one, const Mode& other) {
        return (reads(one) && (other.share & kShareRead) == 0) ||
               (writes(one) && (other.share & kShareWrite) == 0);
    };
    const auto isFree = [&](const Mode& mode) {
        return (!reads(mode) && !writes(mode)) ||
               (support::kOnLinux && !writes(mode) && mode.share == kShareBoth);
    };
    return !isFree(a) && !isFree(b) && ((writes(a) && writes(b)) || refuses(a, b) || refuses(b, a));
}

TEST(Sharing, AllPairs) {
    // clang-format off
    std::vector<Mode> modes = {
        kReader, kWriter, {kGenericRead, 0}, {kGenericRead, kShareBoth},
        {kGenericRead | kGenericWrite, kShareRead}, {kGenericWrite, kShareRead, kCreateAlways},
        {kGenericWrite, kShareRead, kOpenAlways}, {kReadAttributes, kShareBoth},
        {kWriteAttributes, kShareBoth}};
    // clang-format on
    if (support::kOnLinux) {
        modes.push_back({kGenericWrite, kShareBoth});
    }
    const support::CTempFolder folder;
    const std::u16string path = folder.Path(u"shared");
    for (const Mode& first : modes) {
        for (const Mode& second : modes) {
            SCOPED_TRACE(testing::Message() << &first - modes.data() << &second - modes.data());
            ASSERT_TRUE(support::WriteWhole(path, "content"));
            const CFileHandle one = Open(path, first);
            const std::string before = support::ReadWhole(path);
            const bool excluded = Exclude(first, second);
            EXPECT_EQ(CodeOf(one), 0U);
            EXPECT_EQ(CodeOf(Open(path, second)), excluded ? win32err::kSharingViolation : 0);
            EXPECT_TRUE(!excluded || support::ReadWhole(path) == before);
        }
    }
}

TEST(Sharing, AFileInUseKeepsItsName) {
    const support::CTempFolder folder;
    const std::u16string held = folder.Path(u"held");
    const std::u16string other = folder.Path(u"other");
    const std::function<bool()> kRows[] = {
        [&] { return MoveFileExW(other, held, kMoveReplaceExisting); },
        [&] { return MoveFileExW(held, folder.Path(u"free"), 0); },
        [&] { return MoveFileExW(held, other, kMoveReplaceExisting); },
        [&] { return DeleteFileW(held); },
        [&] { return CopyFileW(other, held, false); },
    };
    for (const auto& row : kRows) {
        for (const Mode& mode : {kReader, kWriter}) {
            SCOPED_TRACE(testing::Message() << &row - kRows << ", access " << mode.access);
            const bool excluded =
                mode.access == kGenericWrite || !support::kOnLinux || &row == std::end(kRows) - 1;
            ASSERT_TRUE(support::WriteWhole(held, "held") && support::WriteWhole(other, "other"));
            CFileHandle handle = Open(held, mode);
            EXPECT_EQ(CodeOf(row()), !excluded ? 0U : &row == kRows ? 5U : 32U);
            handle.Reset();
            if (excluded) {
                EXPECT_EQ(support::ReadWhole(held), "held");
                EXPECT_TRUE(row());
            }
            DeleteFileW(folder.Path(u"free"));
        }
    }
    // The source of a copy may be open for writing.
    ASSERT_TRUE(support::WriteWhole(held, "held"));
    const CFileHandle writer = support::OpenToWrite(held, kOpenExisting);
    EXPECT_TRUE(CopyFileW(held, other, false));
}

// While the file of a name is replaced all the time, the name has one writer at most.
TEST(Sharing, ANameHasOneWriterEvenWhileItsFileIsReplaced) {
    const support::CTempFolder folder;
    const std::u16string path = folder.Path(u"contended");
    std::atomic<int> writers = 0, opened = 0, doubles = 0;
    const auto write = [&] {
        while (opened < 200) {
            if (const CFileHandle file = support::OpenToWrite(path)) {
                ++opened;
                doubles += ++writers != 1 ? 1 : 0;
                std::this_thread::yield();
                --writers;
                std::error_code ignored;
                std::filesystem::remove(path, ignored);
            }
        }
    };
    {
        const std::jthread second(write), third(write);
        write();
    }
    EXPECT_EQ(doubles, 0);
}

}  // namespace
