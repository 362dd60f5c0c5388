#include "frame/file_system.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/version.h"
#include "support/engine_failure.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace frame {
namespace {

using support::MessageOf;
using support::ReadWhole;
using support::WriteWhole;

TEST(FileSystem, Texts) {
    const struct {
        std::u16string_view path, longPath, head, tail, stripped;
    } kRows[] = {
        // clang-format off
        {u"c:\\data", u"\\\\?\\c:\\data", u"c:", u"data", u"c:\\data"},
        {u"\\\\srv\\sh\\x", u"\\\\?\\UNC\\srv\\sh\\x", u"\\\\srv\\sh", u"x", u"\\\\srv\\sh\\x"},
        {u"\\\\?\\c:\\data", u"\\\\?\\c:\\data", u"\\\\?\\c:", u"data", u"\\\\?\\c:\\data"},
        {u"data\\x", u"\\\\?\\data\\x", u"data", u"x", u"data\\x"},
        {u"c:\\a/b.txt", u"\\\\?\\c:\\a/b.txt", u"c:", u"a/b.txt", u"c:\\a/b.txt"},
        {u"a/b", u"\\\\?\\a/b", u"a", u"b", u"a/b"},
        {u"name.txt", u"\\\\?\\name.txt", u"", u"name.txt", u"name.txt"},
        {u"a//", u"\\\\?\\a//", u"a/", u"", u"a/"},
        {u"", u"\\\\?\\", u"", u"", u""},
        {u"\\", u"\\\\?\\\\", u"", u"", u""},
        // clang-format on
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(ToLongPath(row.path), row.longPath);
        EXPECT_EQ(SplitPath(row.path).head, row.head) << WideToAnsi(row.path);
        EXPECT_EQ(SplitPath(row.path).tail, row.tail) << WideToAnsi(row.path);
        EXPECT_EQ(StripTrailingSeparator(row.path), row.stripped);
    }
    EXPECT_EQ(JoinPath({u"a", u""}), u"a\\");
    EXPECT_EQ(JoinPath({u"a\\", u"b/", u"c"}), u"a\\b\\c");
    EXPECT_EQ(JoinPath({}), u"");
    EXPECT_EQ(CombinePath(u"a", u"\\b"), u"a\\\\b");
    const auto [stem, extension] = SplitExtension(u"a.b.c");
    EXPECT_TRUE(stem == u"a.b" && extension == u"c" && SplitExtension(u"none").head == u"none");
    EXPECT_EQ(FormatVersion(ParseVersion(u"1.2.3.4.5")), u"1.2.3.4");
    EXPECT_EQ(FormatVersion(ParseVersion(u"70000.0.0.0")), u"4464.0.0.0");
    EXPECT_EQ(FormatVersion(ParseVersion(u" 1.+2. 3.-1x")), u"1.2.3.65535");
    EXPECT_EQ(FormatVersion(ParseVersion(u"1.2.3.99999999999")), u"1.2.3.65535");
}

TEST(FileSystem, FilesAndFolders) {
    const support::CTempFolder folder;
    const std::u16string file = folder.Path(u"f"), other = folder.Path(u"h");
    ASSERT_TRUE(WriteWhole(file, "1"));
    EXPECT_TRUE(FileExists(file) && AnyFileMatches(folder.Path(u"?")) && FileExists(folder.Path()));
    EXPECT_FALSE(AnyFileMatches(folder.Path(u"g*")) || FileExists(folder.Path() + u"/"));
    EXPECT_NE(FileExists(folder.Path(u"?")), support::kOnLinux);
    DeleteFile(folder.Path(u"missing"));
    CopyFile(file, folder.Path(u"new/g"), true);
    CopyFile(file, folder.Path(u"new/g"), false);
    EXPECT_EQ(ReadWhole(folder.Path(u"new/g")), "1");
    CopyFileDurably(file, other);
    EXPECT_EQ(ReadWhole(other), "1");
    ASSERT_TRUE(platform::SetFileAttributesW(file, platform::kAttributeReadOnly));
    DeleteFile(file);
    DeleteFileDurably(other);
    DeleteFileDurably(other);
    EXPECT_FALSE(FileExists(file) || FileExists(other));
    MoveFile(folder.Path(u"new/g"), file, false);
    EXPECT_EQ(ReadWhole(file), "1");
    // In the long form of Windows a slash separates nothing.
    const std::u16string base = folder.Path(u"a");
    for (int turn = 0; turn < 2; ++turn) {
        CreateFolder(base + (support::kOnLinux ? u"/b\\c/" : u"\\b\\c\\"));
    }
    ASSERT_TRUE(WriteWhole(base + u"/b/f", "1") && WriteWhole(base + u"/b/c/g", "2"));
    CopyFolder(base, folder.Path(u"copy/a"));
    EXPECT_EQ(ReadWhole(folder.Path(u"copy/a/b/f")) + ReadWhole(folder.Path(u"copy/a/b/c/g")),
              "12");
    const FolderList list = ListFolder(folder.Path(u"a/b/*"));
    EXPECT_EQ(list.folders, std::vector<std::u16string>{u"c"});
    EXPECT_EQ(list.files, std::vector<std::u16string>{u"f"});
    EXPECT_TRUE(ListFolder(folder.Path(u"missing/*")).files.empty());
    RemoveFolder(folder.Path(u"copy"));
    EXPECT_FALSE(FileExists(folder.Path(u"copy")));
}

TEST(FileSystem, ProcessAndHandles) {
    const support::CTempFolder folder;
    const std::u16string file = folder.Path(u"f");
    EXPECT_EQ(CombinePath(GetOwnModuleFolder(), GetOwnModuleFileName()).size(),
              GetOwnModuleFilePath().size());
    EXPECT_TRUE(FileExists(GetModuleFilePath(nullptr)) && AnyFileMatches(GetTempFolder() + u"*"));
    EXPECT_NE(GetEnvironmentValue(u"PATH"), u"");
    auto writer = std::async(std::launch::async, [&] { return WriteWhole(file, "012345"); });
    FileWaitCreation(file, 5);
    ASSERT_TRUE(writer.get());
    const platform::CFileHandle copy = DuplicateHandleOf(support::OpenToRead(file).Get());
    char bytes[8] = {};
    SetFilePointerTo(copy.Get(), 2);
    ReadExactly(copy.Get(), bytes, 3);
    EXPECT_STREQ(bytes, "234");
    const platform::CFileHandle holder = support::OpenToWrite(folder.Path(u"new"));
    for (const std::uint32_t seconds : {0, 1}) {  // it is in use until the end of each wait
        FileWaitCreation(folder.Path(u"new"), seconds);
    }
}

TEST(FileSystem, Failures) {
    const support::CTempFolder base;
    const std::u16string file = base.Path(u"f"), other = base.Path(u"g"),
                         missing = base.Path(u"missing"), folder = base.Path(u"folder"),
                         below = base.Path(u"f/a"), deep = base.Path(u"f/a/b");
    CreateFolder(folder);
    ASSERT_TRUE(WriteWhole(file, "1") && WriteWhole(other, "2") &&
                WriteWhole(base.Path(u"h"), "3"));
    const platform::CFileHandle handle = support::OpenToRead(base.Path(u"h"));
    char bytes[2];
    const auto wide = &ToLongPath;
    const struct {
        std::function<void()> action;
        std::u16string_view text;
        std::vector<std::u16string> args;
        std::uint32_t code = 0;  // of the system; 0: no system call failed
    } rows[] = {
        // clang-format off
        {[&] { CreateFolder(deep); }, u"Cannot create folder [%1].\r\nCannot create folder [%2].\r\nCreateDirectoryW(%3) failed.", {deep, below, wide(below)}, 3},
        {[&] { CreateFolder(u"name"); }, u"Cannot create folder [name].\r\nInvalid folder path: [name].", {}},
        {[&] { CreateFolder(u"\\\\x"); }, u"Cannot create folder [\\\\x].\r\nInvalid folder path: [\\\\x].", {}},
        {[&] { CopyFile(file, u"x", true); }, u"Cannot copy file. Source file: [%1]. Target file: [x].\r\nCannot create folder [].\r\nInvalid folder path: [].", {file}},
        {[&] { CopyFile(missing, file, false); }, u"Cannot copy file. Source file: [%1]. Target file: [%2].\r\nCopyFile() failed.", {missing, file}, 2},
        {[&] { CopyFileDurably(other, file); }, u"Cannot copy file. Source file: [%1]. Target file: [%2].\r\nCopyFile() failed.", {other, file}, 183},
        {[&] { DeleteFile(folder); }, u"Cannot delete file [%1].\r\nCannot delete file.", {folder}, 5},
        {[&] { MoveFile(file, folder, false); }, u"Cannot move file. Source path: [%1]. Target path: [%2].", {wide(file), wide(folder)}, 183},
        {[&] { ResetReadOnly(missing); }, u"Cannot reset the read-only flag. File path: [%1].\r\nCannot get file attributes. File path: [%1].", {missing}, 2},
        {[&] { CopyFolder(folder, below); }, u"Cannot copy folder. Source folder: [%1]. Target folder: [%2].\r\nCannot create folder [%3].\r\nCreateDirectoryW(%2) failed.", {wide(folder), wide(below), below}, 3},
        {[&] { RemoveFolder(missing); }, u"Cannot remove folder [%1].\r\nRemoveDirectory(%2) failed.", {missing, wide(missing)}, 2},
        {[&] { GetEnvironmentValue(u"ZOREL_NO"); }, u"Environmet variable was not found. Environment variable name: [ZOREL_NO].", {}, 203},
        {[&] { ReadExactly(handle.Get(), bytes, 2); }, u"The number of bytes read from the file is less than the required. Retrieved bytes number: [1]. Required bytes number: [2].", {}},
        {[&] { SetFilePointerTo(handle.Get(), -1); }, u"Cannot set file pointer. Specified position: [-1]. Move method: [FILE_BEGIN].", {}, 131},
        {[&] { FileWaitCreation(missing, 0); }, u"FileWaitCreation() timeout occured.", {}},
        {[&] { FileWaitCreation(folder, 1); }, u"Cannot open file in FileWaitCreation()", {}, 5},
        {[&] { ParseVersion(u"1.2.3"); }, u"Cannot unserialize a version string. Specified string: [1.2.3].", {}},
        {[&] { ParseVersion(u"1..2.3"); }, u"Cannot unserialize a version string. Specified string: [1..2.3].", {}},
        {[&] { ParseVersion(u""); }, u"Cannot unserialize a version string. Specified string: [].", {}},
        {[&] { DeleteFileDurably(folder); }, u"Cannot delete file [%1].\r\nCannot delete file.", {folder}, 5},
        // clang-format on
    };
    for (auto row : rows) {
        row.args.resize(3);
        const TextArgs args = {row.args[0], row.args[1], row.args[2]};
        EXPECT_EQ(MessageOf(row.action),
                  row.code == 0 ? FormatText(row.text, args)
                                : CWin32Exc(row.text, args, row.code).GetFullMessage());
    }
    EXPECT_EQ(ReadWhole(file), "1");
    EXPECT_TRUE(MessageOf([&] { StartProcess(missing, u"x"); })
                    .starts_with(u"Cannot create a new process. Path to the executable file: [" +
                                 missing + u"]. Command line arguments: [x]."));
    if (support::kOnLinux) {
        EXPECT_EQ(MessageOf([&] { GetFileVersion(file); }),
                  u"Cannot get file version. File path: [" + file + u"].\r\n" +
                      CWin32Exc(u"Cannot obtain the size of the VERSION_INFO structure.", 50)
                          .GetFullMessage());
    }
}

}  // namespace
}  // namespace frame
