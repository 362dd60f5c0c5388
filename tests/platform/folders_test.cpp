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

std::vector<std::u16string> List(const std::u16string& pattern) {
    std::vector<std::u16string> names;
    FindData data;
    const CFindHandle find(FindFirstFileW(pattern, data));
    for (bool more = static_cast<bool>(find); more; more = FindNextFileW(find.Get(), data)) {
        names.push_back(data.name);
    }
    EXPECT_EQ(GetLastError(), find ? win32err::kNoMoreFiles : win32err::kFileNotFound);
    return names;
}

bool SlowMatch(std::u16string_view pattern, std::u16string_view name) {
    if (pattern.empty()) {
        return name.empty();
    }
    if (pattern[0] == u'*') {
        return SlowMatch(pattern.substr(1), name) ||
               (!name.empty() && SlowMatch(pattern, name.substr(1)));
    }
    return !name.empty() && (pattern[0] == u'?' || pattern[0] == name[0]) &&
           SlowMatch(pattern.substr(1), name.substr(1));
}

TEST(Folders, WildcardsFollowAPlainModel) {
    // On Windows a ? at the end of a name matches no unit too; Wine fails for one after a *.
    const std::u16string_view units = support::kOnLinux ? u"abc\x0436*?*" : u"abc\x0436*";
    const CTempFolder folder;
    std::mt19937 random(6);
    const auto word = [&](std::u16string_view from) {
        std::u16string text(1 + random() % 5, u'\0');
        std::generate(text.begin(), text.end(), [&] { return from[random() % from.size()]; });
        return text;
    };
    std::vector<std::u16string> names;
    for (int i = 0; i < 60; ++i) {
        names.push_back(word(u"abc\x0436"));
        ASSERT_TRUE(support::WriteWhole(folder.Path(names.back()), "x"));
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    for (int round = 0; round < 500; ++round) {
        const std::u16string pattern = u"a" + word(units) + (support::kOnLinux ? u'?' : u'*');
        std::vector<std::u16string> expected;
        std::copy_if(names.begin(), names.end(), std::back_inserter(expected),
                     [&](const auto& name) { return SlowMatch(pattern, name); });
        ASSERT_EQ(List(folder.Path() + u"/" + pattern), expected) << round;
    }
    names.insert(names.begin(), {u".", u".."});
    EXPECT_EQ(List(folder.Path(u"*")), names);
    EXPECT_EQ(List(folder.Path(u"*.*")), names);
}

TEST(Folders, PatternsAndTheirCodes) {
    const CTempFolder folder;
    ASSERT_TRUE(CreateDirectoryW(folder.Path(u"sub")));
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"file.txt"), "12345"));
    const struct {
        const char16_t* pattern;
        std::uint32_t code;
    } rows[] = {{u"sub/*", 0},   {u"file.*", 0}, {u"sub/", 2},         {u"none", 2},
                {u"no/none", 3}, {u"no/*", 3},   {u"*/file.txt", 123}, {u"s?b/file", 123}};
    FindData data;
    for (const auto& row : rows) {
        const CFindHandle find(FindFirstFileW(folder.Path() + u"/" + row.pattern, data));
        EXPECT_EQ(CodeOf(static_cast<bool>(find)), row.code) << &row - rows;
    }
    CFindHandle find(FindFirstFileW(folder.Path(u"file.txt"), data));
    EXPECT_TRUE(data.name == u"file.txt" && data.size == 5 && data.lastWriteTime > 0);
    EXPECT_EQ(data.attributes & ~kAttributeNormal, kAttributeArchive);
    EXPECT_EQ(CodeOf(FindNextFileW(find.Get(), data)), win32err::kNoMoreFiles);
    find.Reset(FindFirstFileW(folder.Path(u"sub"), data));
    EXPECT_EQ(data.attributes, kAttributeDirectory);
}

enum class EChange { Create, Remove, Delete, Move, Copy };

std::uint32_t Change(EChange change, const std::u16string& path, const std::u16string& target,
                     std::uint32_t flags) {
    switch (change) {
        case EChange::Create:
            return CodeOf(CreateDirectoryW(path));
        case EChange::Remove:
            return CodeOf(RemoveDirectoryW(path));
        case EChange::Delete:
            return CodeOf(DeleteFileW(path));
        case EChange::Move:
            return CodeOf(MoveFileExW(path, target, flags));
        case EChange::Copy:
            break;
    }
    return CodeOf(CopyFileW(path, target, flags != 0));
}

TEST(Folders, ChangesAndTheirCodes) {
    using enum EChange;
    constexpr std::uint32_t kReplace = kMoveReplaceExisting;
    const struct {
        EChange change;
        const char16_t* path;
        std::uint32_t code;
        const char* content = "old";  // of "old" afterwards; "<none>" for a missing file
        const char16_t* target = u"";
        std::uint32_t flags = 0;          // of a move; not 0 for a copy that must not replace
        bool (*isDifferent)() = nullptr;  // on a system with another result
    } rows[] = {
        {Create, u"new", 0},
        {Create, u"sub", 183},
        {Create, u"old", 183},
        {Create, u"a/b", 3},
        {Remove, u"empty", 0},
        {Remove, u"sub", 145},
        {Remove, u"old", 267},
        {Remove, u"no", 2},
        {Delete, u"old", 0, "<none>"},
        {Delete, u"no", 2},
        {Delete, u"no/no", 3},
        {Delete, u"sub", 5},
        {Delete, u"locked", 5},
        {Move, u"sub", 0, "old", u"b"},
        {Move, u"old", 0, "<none>", u"sub/b", kReplace | kMoveWriteThrough},
        {Move, u"in", 183, "old", u"old"},
        {Move, u"in", 0, "new", u"old", kReplace},
        {Move, u"old", 5, "old", u"locked", kReplace, support::OnWine},
        {Move, u"old", 5, "old", u"empty", kReplace},
        {Move, u"no", 2, "old", u"old", kReplace},
        {Move, u"old", 3, "old", u"no/b"},
        {Copy, u"in", 0, "new", u"old"},
        {Copy, u"in", 80, "old", u"old", 1},
        {Copy, u"no", 2, "old", u"old"},
        {Copy, u"in", 3, "old", u"no/b"},
        {Copy, u"sub", 5, "old", u"b"},
        {Copy, u"old", 5, "old", u"locked", 0, support::OnWineAsSuperuser},
        {Copy, u"old", 32, "old", u"old"},
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
        EXPECT_EQ(Change(row.change, folder.Path(row.path), target, row.flags), row.code);
        EXPECT_EQ(support::ReadWhole(folder.Path(u"old")), row.content);
        EXPECT_EQ(support::ReadWhole(folder.Path(u"locked")), "old");
    }
}

TEST(Folders, ACopyHasTheContentTimeAndReadOnlyAttributeOfItsSource) {
    const CTempFolder folder;
    const std::u16string path = folder.Path(u"f");
    const std::u16string target = folder.Path(u"copy");
    const std::int64_t set = 129'000'000'000'000'000;  // in 2009
    constexpr std::uint32_t kBoth = kAttributeReadOnly | kAttributeArchive;
    std::string content(1'000'000, '\0');
    std::generate(content.begin(), content.end(), std::mt19937(7));
    {
        const CFileHandle file = support::OpenToWrite(path);
        ASSERT_TRUE(support::Write(file, content));
        ASSERT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &set));
    }
    ASSERT_TRUE(SetFileAttributesW(path, kBoth) && CopyFileW(path, target, false));
    FindData data;
    const CFindHandle find(FindFirstFileW(target, data));
    EXPECT_TRUE(data.attributes == kBoth && data.lastWriteTime == set);
    EXPECT_TRUE(support::ReadWhole(target) == content);
    ASSERT_TRUE(SetFileAttributesW(path, kAttributeArchive));
    EXPECT_EQ(GetFileAttributesW(path), kAttributeArchive);
    EXPECT_TRUE(support::OpenToWrite(path));
    ASSERT_TRUE(DeleteFileW(path) && CreateDirectoryW(path) &&
                SetFileAttributesW(path, kAttributeReadOnly));
    if (!support::OnWine()) {  // which removes it
        EXPECT_EQ(CodeOf(RemoveDirectoryW(path)), 5U);
    }
    ASSERT_TRUE(SetFileAttributesW(path, 0));
    EXPECT_EQ(GetFileAttributesW(path), kAttributeDirectory);
    EXPECT_TRUE(RemoveDirectoryW(path));
}

}  // namespace
