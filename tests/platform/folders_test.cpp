// Folders and whole files: listing, making, removing, copying, moving.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>

#include "platform/files.h"
#include "platform/times.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace {

using namespace platform;
using support::CodeOf;
using support::CTempFolder;

std::vector<std::u16string> List(const std::u16string& pattern, std::uint32_t& code) {
    std::vector<std::u16string> names;
    FindData data;
    const CFindHandle find(FindFirstFileW(pattern, data));
    if (!find) {
        code = GetLastError();
        return names;
    }
    do {
        names.push_back(data.name);
    } while (FindNextFileW(find.Get(), data));
    code = GetLastError();
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

// The ? of Windows stands for no unit too, at the end of a name; so does Wine's, and it goes
// astray behind a star.
TEST(Folders, WildcardsFindWhatThePlainModelFinds) {
    const std::u16string_view alphabet = support::kOnLinux ? u"abc\x0436*?*" : u"abc\x0436*";
    const char16_t last = support::kOnLinux ? u'?' : u'*';
    const CTempFolder folder;
    std::mt19937 random(6);
    const auto word = [&](std::u16string_view units, std::size_t longest) {
        std::u16string text;
        for (auto length = 1 + random() % longest; length > 0; --length) {
            text += units[random() % units.size()];
        }
        return text;
    };
    std::vector<std::u16string> names;
    for (int i = 0; i < 60; ++i) {
        names.push_back(word(u"abc\x0436", 5));
        ASSERT_TRUE(support::WriteWhole(folder.Path(names.back()), "x"));
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    for (int round = 0; round < 500; ++round) {
        const std::u16string pattern = u"a" + word(alphabet, 5) + last;
        std::vector<std::u16string> expected;
        std::copy_if(names.begin(), names.end(), std::back_inserter(expected),
                     [&](const auto& name) { return SlowMatch(pattern, name); });
        std::uint32_t code = 0;
        ASSERT_EQ(List(folder.Path() + u"/" + pattern, code), expected) << round;
        ASSERT_EQ(code, expected.empty() ? win32err::kFileNotFound : win32err::kNoMoreFiles);
    }
    names.insert(names.begin(), {u".", u".."});
    std::uint32_t code = 0;
    EXPECT_EQ(List(folder.Path(u"*"), code), names);
    EXPECT_EQ(List(folder.Path(u"*.*"), code), names);
}

TEST(Folders, WhatIsFoundAndHowItFails) {
    const CTempFolder folder;
    ASSERT_TRUE(CreateDirectoryW(folder.Path(u"sub")));
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"file.txt"), "12345"));
    const struct {
        const char16_t* pattern;
        std::uint32_t code;  // of FindFirstFileW
    } rows[] = {
        {u"sub", 0},  {u"sub/*", 0},        {u"file.txt", 0},   {u"file.*", 0},
        {u"sub/", 2}, {u"none", 2},         {u"*.doc", 2},      {u"no/none", 3},
        {u"no/*", 3}, {u"*/file.txt", 123}, {u"s?b/file", 123},
    };
    for (const auto& row : rows) {
        FindData data;
        const std::u16string pattern = folder.Path() + u"/" + row.pattern;
        const CFindHandle find(FindFirstFileW(pattern, data));
        EXPECT_EQ(CodeOf(static_cast<bool>(find)), row.code) << std::filesystem::path(row.pattern);
    }
    FindData data;
    CFindHandle find(FindFirstFileW(folder.Path(u"file.txt"), data));
    EXPECT_EQ(data.name, u"file.txt");
    EXPECT_EQ(data.size, 5);
    EXPECT_EQ(data.attributes & ~std::uint32_t{kAttributeNormal}, kAttributeArchive);
    EXPECT_NEAR(static_cast<double>(data.lastWriteTime),
                static_cast<double>(GetSystemTimeAsTicks()), 60.0 * kTicksPerSecond);
    EXPECT_EQ(CodeOf(FindNextFileW(find.Get(), data)), win32err::kNoMoreFiles);
    find.Reset(FindFirstFileW(folder.Path(u"sub"), data));
    EXPECT_EQ(data.attributes, kAttributeDirectory);
}

TEST(Folders, ChangesAndTheirCodes) {
    constexpr std::uint32_t kReplace = kMoveReplaceExisting;
    const struct {
        const char* label;
        std::function<bool(const CTempFolder&)> act;
        std::uint32_t code;
        const char* left;               // "old" afterwards, "<none>" when it is gone
        bool (*otherwise)() = nullptr;  // where the system is known to differ
    } rows[] = {
        {"make", [](auto& f) { return CreateDirectoryW(f.Path(u"new")); }, 0, "old"},
        {"make taken", [](auto& f) { return CreateDirectoryW(f.Path(u"sub")); }, 183, "old"},
        {"make on file", [](auto& f) { return CreateDirectoryW(f.Path(u"old")); }, 183, "old"},
        {"make too deep", [](auto& f) { return CreateDirectoryW(f.Path(u"a/b")); }, 3, "old"},
        {"remove", [](auto& f) { return RemoveDirectoryW(f.Path(u"empty")); }, 0, "old"},
        {"remove full", [](auto& f) { return RemoveDirectoryW(f.Path(u"sub")); }, 145, "old"},
        {"remove file", [](auto& f) { return RemoveDirectoryW(f.Path(u"old")); }, 267, "old"},
        {"remove none", [](auto& f) { return RemoveDirectoryW(f.Path(u"no")); }, 2, "old"},
        {"delete", [](auto& f) { return DeleteFileW(f.Path(u"old")); }, 0, "<none>"},
        {"delete none", [](auto& f) { return DeleteFileW(f.Path(u"no")); }, 2, "old"},
        {"delete in none", [](auto& f) { return DeleteFileW(f.Path(u"no/no")); }, 3, "old"},
        {"delete folder", [](auto& f) { return DeleteFileW(f.Path(u"sub")); }, 5, "old"},
        {"delete read-only", [](auto& f) { return DeleteFileW(f.Path(u"locked")); }, 5, "old"},
        {"move", [](auto& f) { return MoveFileExW(f.Path(u"old"), f.Path(u"b"), 0); }, 0, "<none>"},
        {"move folder", [](auto& f) { return MoveFileExW(f.Path(u"sub"), f.Path(u"b"), 0); }, 0,
         "old"},
        {"move to disk",
         [](auto& f) {
             return MoveFileExW(f.Path(u"old"), f.Path(u"sub/b"), kReplace | kMoveWriteThrough);
         },
         0, "<none>"},
        {"move onto", [](auto& f) { return MoveFileExW(f.Path(u"in"), f.Path(u"old"), 0); }, 183,
         "old"},
        {"replace", [](auto& f) { return MoveFileExW(f.Path(u"in"), f.Path(u"old"), kReplace); }, 0,
         "new"},
        {"replace read-only",
         [](auto& f) { return MoveFileExW(f.Path(u"old"), f.Path(u"locked"), kReplace); }, 5, "old",
         support::OnWine},
        {"replace folder",
         [](auto& f) { return MoveFileExW(f.Path(u"old"), f.Path(u"empty"), kReplace); }, 5, "old"},
        {"move none", [](auto& f) { return MoveFileExW(f.Path(u"no"), f.Path(u"old"), kReplace); },
         2, "old"},
        {"move to none", [](auto& f) { return MoveFileExW(f.Path(u"old"), f.Path(u"no/b"), 0); }, 3,
         "old"},
        {"copy", [](auto& f) { return CopyFileW(f.Path(u"in"), f.Path(u"old"), false); }, 0, "new"},
        {"copy onto", [](auto& f) { return CopyFileW(f.Path(u"in"), f.Path(u"old"), true); }, 80,
         "old"},
        {"copy none", [](auto& f) { return CopyFileW(f.Path(u"no"), f.Path(u"old"), false); }, 2,
         "old"},
        {"copy to none", [](auto& f) { return CopyFileW(f.Path(u"in"), f.Path(u"no/b"), false); },
         3, "old"},
        {"copy folder", [](auto& f) { return CopyFileW(f.Path(u"sub"), f.Path(u"b"), false); }, 5,
         "old"},
        {"copy onto read-only",
         [](auto& f) { return CopyFileW(f.Path(u"old"), f.Path(u"locked"), false); }, 5, "old",
         support::OnWineAsSuperuser},
        {"copy onto itself",
         [](auto& f) { return CopyFileW(f.Path(u"old"), f.Path(u"old"), false); }, 32, "old"},
        {"copy onto an open file",
         [](auto& f) {
             const CFileHandle reader(
                 CreateFileW(f.Path(u"old"), kGenericRead, kShareRead, kOpenExisting, 0));
             return CopyFileW(f.Path(u"in"), f.Path(u"old"), false);
         },
         32, "old"},
        {"copy a file being written",
         [](auto& f) {
             const CFileHandle writer = support::OpenToWrite(f.Path(u"in"), kOpenExisting);
             return CopyFileW(f.Path(u"in"), f.Path(u"old"), false);
         },
         0, "new"},
    };
    for (const auto& row : rows) {
        if (row.otherwise != nullptr && row.otherwise()) {
            continue;
        }
        const CTempFolder folder;
        ASSERT_TRUE(CreateDirectoryW(folder.Path(u"sub")) &&
                    CreateDirectoryW(folder.Path(u"empty")));
        for (const char16_t* name : {u"old", u"sub/file", u"locked"}) {
            ASSERT_TRUE(support::WriteWhole(folder.Path(name), "old"));
        }
        ASSERT_TRUE(support::WriteWhole(folder.Path(u"in"), "new"));
        ASSERT_TRUE(SetFileAttributesW(folder.Path(u"locked"), kAttributeReadOnly));
        EXPECT_EQ(CodeOf(row.act(folder)), row.code) << row.label;
        EXPECT_EQ(support::ReadWhole(folder.Path(u"old")), row.left) << row.label;
        EXPECT_EQ(support::ReadWhole(folder.Path(u"locked")), "old") << row.label;
    }
}

TEST(Folders, ReadOnlyIsSetAndClearedAndGivesWay) {
    const CTempFolder folder;
    const std::u16string path = folder.Path(u"f");
    ASSERT_TRUE(support::WriteWhole(path, "x"));
    ASSERT_TRUE(SetFileAttributesW(path, kAttributeReadOnly | kAttributeArchive));
    EXPECT_EQ(GetFileAttributesW(path), kAttributeReadOnly | kAttributeArchive);
    ASSERT_TRUE(CopyFileW(path, folder.Path(u"copy"), false));
    EXPECT_EQ(GetFileAttributesW(folder.Path(u"copy")), kAttributeReadOnly | kAttributeArchive);
    ASSERT_TRUE(SetFileAttributesW(path, kAttributeArchive));
    EXPECT_EQ(GetFileAttributesW(path), kAttributeArchive);
    EXPECT_TRUE(support::OpenToWrite(path));
    EXPECT_TRUE(DeleteFileW(path));
    ASSERT_TRUE(CreateDirectoryW(path) && SetFileAttributesW(path, kAttributeReadOnly));
    if (!support::OnWine()) {  // which removes it all the same
        EXPECT_EQ(CodeOf(RemoveDirectoryW(path)), 5U);
    }
    ASSERT_TRUE(SetFileAttributesW(path, 0));
    EXPECT_EQ(GetFileAttributesW(path), kAttributeDirectory);
    EXPECT_TRUE(RemoveDirectoryW(path));
}

TEST(Folders, ACopyIsTheSameFileWithTheSameTime) {
    const CTempFolder folder;
    const std::int64_t set = 129'000'000'000'000'000;  // in 2009
    for (const std::size_t size : {0U, 1U, 65'536U, 1'000'000U}) {
        std::string content(size, '\0');
        std::mt19937 random(static_cast<unsigned>(size));
        std::generate(content.begin(), content.end(), [&] { return static_cast<char>(random()); });
        {
            const CFileHandle file = support::OpenToWrite(folder.Path(u"source"));
            ASSERT_TRUE(support::Write(file, content));
            ASSERT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &set));
        }
        ASSERT_TRUE(CopyFileW(folder.Path(u"source"), folder.Path(u"target"), false)) << size;
        EXPECT_TRUE(support::ReadWhole(folder.Path(u"target")) == content) << size;
        FindData data;
        const CFindHandle find(FindFirstFileW(folder.Path(u"target"), data));
        EXPECT_EQ(data.lastWriteTime, set) << size;
    }
}

}  // namespace
