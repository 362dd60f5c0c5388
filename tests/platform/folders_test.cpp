// Folders and whole files: listing, creating, removing, copying, moving.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "platform/files.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace {

using namespace platform;
using support::CodeOf;
using support::CTempFolder;

TEST(Folders, PatternsAndTheirCodes) {
    const CTempFolder folder;
    ASSERT_TRUE(CreateDirectoryW(folder.Path(u"sub")) && CreateDirectoryW(folder.Path(u"none.d")));
    for (const char16_t* name : {u"a", u"abxbc", u"ab\x0436", u"axbxc", u"b.txt"}) {
        ASSERT_TRUE(support::WriteWhole(folder.Path() + u"/sub/" + name, "12345"));
    }
    constexpr std::uint32_t kBad = support::kOnLinux ? 3 : 123;
    const struct {
        std::u16string pattern;
        std::u16string names;  // in the order of the listing
        std::uint32_t code;    // of the end
    } rows[] = {
        {u"sub/*", u". .. a abxbc ab\x0436 axbxc b.txt ", 18},
        {u"sub/*.*", u". .. a abxbc ab\x0436 axbxc b.txt ", 18},
        {u"sub/a*", u"a abxbc ab\x0436 axbxc ", 18},
        {u"sub/*a*", u"a abxbc ab\x0436 axbxc ", 18},
        {u"sub/*bc", u"abxbc ", 18},
        {u"sub/a*b*c", u"abxbc axbxc ", 18},
        {u"sub/??\x0436", u"ab\x0436 ", 18},
        {u"sub/a?b?c", u"axbxc ", 18},
        {u"none.*", u"none.d ", 18},
        {u"sub/b.txt", u"b.txt ", 18},
        {u"sub/", u"", 2},
        {u"none", u"", 2},
        {u"no/none", u"", 3},
        {u"no/*", u"", 3},
        {u"*/b.txt", u"", kBad},
        {u"s?b/b.txt", u"", kBad},
    };
    FindData data;
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        std::u16string names;
        const CFindHandle find(FindFirstFileW(folder.Path() + u"/" + row.pattern, data));
        for (bool more = static_cast<bool>(find); more; more = FindNextFileW(find.Get(), data)) {
            names += data.name + u" ";
        }
        EXPECT_EQ(GetLastError(), row.code);
        EXPECT_EQ(names, row.names);
    }
    CFindHandle find(FindFirstFileW(folder.Path(u"sub/b.txt"), data));
    EXPECT_TRUE(data.name == u"b.txt" && data.size == 5 && data.lastWriteTime > 0);
    EXPECT_EQ(data.attributes & ~kAttributeNormal, kAttributeArchive);
    find.Reset(FindFirstFileW(folder.Path(u"sub"), data));
    EXPECT_EQ(data.attributes, kAttributeDirectory);
}

TEST(Folders, ChangesAndTheirCodes) {
    constexpr std::uint32_t kReplace = kMoveReplaceExisting;
    using Text = const std::u16string&;
    const auto create = [](Text path, Text, std::uint32_t) { return CreateDirectoryW(path); };
    const auto remove = [](Text path, Text, std::uint32_t) { return RemoveDirectoryW(path); };
    const auto erase = [](Text path, Text, std::uint32_t) { return DeleteFileW(path); };
    const auto move = [](Text path, Text target, std::uint32_t flags) {
        return MoveFileExW(path, target, flags);
    };
    const auto copy = [](Text path, Text target, std::uint32_t flags) {
        return CopyFileW(path, target, flags != 0);
    };
    const struct {
        bool (*change)(Text, Text, std::uint32_t);
        const char16_t* path;
        std::uint32_t code;
        const char* content = "old";  // of "old" afterwards; "<none>" for a missing file
        const char16_t* target = u"";
        std::uint32_t flags = 0;          // of a move; not 0 for a copy that must not replace
        bool (*isDifferent)() = nullptr;  // on a system with another result
    } rows[] = {
        {create, u"new", 0},
        {create, u"sub", 183},
        {create, u"old", 183},
        {remove, u"empty", 0},
        {remove, u"sub", 145},
        {remove, u"old", 267},
        {erase, u"old", 0, "<none>"},
        {erase, u"no", 2},
        {erase, u"no/no", 3},
        {erase, u"locked", 5},
        {move, u"sub", 0, "old", u"b"},
        {move, u"old", 0, "<none>", u"sub/b", kReplace | kMoveWriteThrough},
        {move, u"in", 183, "old", u"old"},
        {move, u"in", 0, "new", u"old", kReplace},
        {move, u"old", 5, "old", u"locked", kReplace, support::OnWine},
        {move, u"old", 5, "old", u"empty", kReplace},
        {move, u"no", 2, "old", u"old", kReplace},
        {move, u"old", 3, "old", u"no/b"},
        {copy, u"in", 0, "new", u"old"},
        {copy, u"in", 80, "old", u"old", 1},
        {copy, u"in", 3, "old", u"no/b"},
        {copy, u"sub", 5, "old", u"b"},
        {copy, u"old", 5, "old", u"locked", 0, support::OnWineAsSuperuser},
        {copy, u"old", 32, "old", u"old"},
    };
    for (const auto& row : rows) {
        if (row.isDifferent != nullptr && row.isDifferent()) {
            continue;
        }
        SCOPED_TRACE(&row - rows);
        const CTempFolder folder;
        ASSERT_TRUE(CreateDirectoryW(folder.Path(u"sub")) &&
                    CreateDirectoryW(folder.Path(u"empty")));
        for (const char16_t* name : {u"old", u"sub/file", u"locked"}) {
            ASSERT_TRUE(support::WriteWhole(folder.Path(name), "old"));
        }
        ASSERT_TRUE(support::WriteWhole(folder.Path(u"in"), "new"));
        ASSERT_TRUE(SetFileAttributesW(folder.Path(u"locked"), kAttributeReadOnly));
        const std::u16string target = folder.Path(row.target);
        const std::u16string path = folder.Path(row.path);
        SetLastError(77);
        EXPECT_EQ(row.change(path, target, row.flags), row.code == 0);
        EXPECT_EQ(GetLastError(), row.code == 0 ? 77 : row.code);
        EXPECT_EQ(support::ReadWhole(folder.Path(u"old")), row.content);
        EXPECT_EQ(support::ReadWhole(folder.Path(u"locked")), "old");
    }
}

TEST(Folders, ACopyHasTheContentTimeAndReadOnlyAttributeOfItsSource) {
    const CTempFolder folder;
    const std::u16string path = folder.Path(u"f");
    const std::int64_t set = 129'000'000'000'000'000;  // in 2009
    constexpr std::uint32_t kBoth = kAttributeReadOnly | kAttributeArchive;
    std::string content(1'000'000, '\0');
    std::generate(content.begin(), content.end(), std::mt19937(7));
    ASSERT_TRUE(support::WriteWhole(path, content));
    ASSERT_TRUE(SetFileTime(support::OpenToWrite(path, kOpenExisting).Get(), {}, {}, &set));
    ASSERT_TRUE(SetFileAttributesW(path, kBoth) && CopyFileW(path, folder.Path(u"copy"), false));
    FindData data;
    const CFindHandle find(FindFirstFileW(folder.Path(u"copy"), data));
    EXPECT_TRUE(data.attributes == kBoth && data.lastWriteTime == set);
    EXPECT_TRUE(support::ReadWhole(folder.Path(u"copy")) == content);
    ASSERT_TRUE(SetFileAttributesW(path, kAttributeArchive));
    EXPECT_EQ(GetFileAttributesW(path), kAttributeArchive);
    EXPECT_TRUE(support::OpenToWrite(path));
    const std::u16string sub = folder.Path(u"sub");
    ASSERT_TRUE(CreateDirectoryW(sub) && SetFileAttributesW(sub, kAttributeReadOnly));
    if (!support::OnWine()) {  // which removes it
        EXPECT_EQ(CodeOf(RemoveDirectoryW(sub)), 5U);
    }
    ASSERT_TRUE(SetFileAttributesW(sub, 0));
    EXPECT_EQ(GetFileAttributesW(sub), kAttributeDirectory);
    EXPECT_TRUE(RemoveDirectoryW(sub));
}

}  // namespace
