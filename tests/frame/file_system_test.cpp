#include "frame/file_system.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <future>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/version.h"
#include "support/meta_file_model.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace frame {
namespace {

namespace fs = std::filesystem;
using support::MessageOf;
using support::ReadWhole;
using support::WriteWhole;

TEST(Paths, Texts) {
    const struct {
        std::u16string_view path;
        std::u16string_view longPath;
        SplitText split;
        std::u16string_view stripped;
    } kRows[] = {
        {u"c:\\data", u"\\\\?\\c:\\data", {u"c:", u"data"}, u"c:\\data"},
        {u"\\\\srv\\share\\x",
         u"\\\\?\\UNC\\srv\\share\\x",
         {u"\\\\srv\\share", u"x"},
         u"\\\\srv\\share\\x"},
        {u"\\\\?\\c:\\data", u"\\\\?\\c:\\data", {u"\\\\?\\c:", u"data"}, u"\\\\?\\c:\\data"},
        {u"data\\x", u"\\\\?\\data\\x", {u"data", u"x"}, u"data\\x"},
        {u"c:\\a/b.txt", u"\\\\?\\c:\\a/b.txt", {u"c:", u"a/b.txt"}, u"c:\\a/b.txt"},
        {u"a/b", u"\\\\?\\a/b", {u"a", u"b"}, u"a/b"},
        {u"name.txt", u"\\\\?\\name.txt", {u"", u"name.txt"}, u"name.txt"},
        {u"a//", u"\\\\?\\a//", {u"a/", u""}, u"a/"},
        {u"", u"\\\\?\\", {u"", u""}, u""},
        {u"\\", u"\\\\?\\\\", {u"", u""}, u""},
    };
    for (const auto& row : kRows) {
        const std::string label = WideToAnsi(row.path);
        EXPECT_EQ(ToLongPath(row.path), row.longPath) << label;
        EXPECT_EQ(SplitPath(row.path).head, row.split.head) << label;
        EXPECT_EQ(SplitPath(row.path).tail, row.split.tail) << label;
        EXPECT_EQ(StripTrailingSeparator(row.path), row.stripped) << label;
    }
    EXPECT_EQ(JoinPath({u"a", u""}), u"a\\");
    EXPECT_EQ(JoinPath({u"a\\", u"b/", u"c"}), u"a\\b\\c");
    EXPECT_EQ(CombinePath(u"a", u"\\b"), u"a\\\\b");
    EXPECT_EQ(JoinPath({}), u"");
    EXPECT_EQ(SplitExtension(u"a.b.c").head, u"a.b");
    EXPECT_EQ(SplitExtension(u"a.b.c").tail, u"c");
    EXPECT_EQ(SplitExtension(u"none").head, u"none");
}

TEST(Version, TextsAndFiles) {
    const struct {
        std::u16string_view text;
        std::u16string_view formatted;  // empty: refused
    } kRows[] = {
        {u"1.2.3.4", u"1.2.3.4"},
        {u"1.2.3", u""},
        {u"1.2.3.4.5", u"1.2.3.4"},
        {u"70000.0.0.0", u"4464.0.0.0"},
        {u" 1.+2. 3.-1x", u"1.2.3.65535"},
        {u"", u""},
        {u"1..2.3", u""},
        {u"1.2.3.99999999999", u"1.2.3.65535"},
    };
    for (const auto& row : kRows) {
        std::u16string formatted;
        const std::u16string message =
            MessageOf([&] { formatted = FormatVersion(ParseVersion(row.text)); });
        EXPECT_EQ(formatted, row.formatted);
        EXPECT_EQ(message, row.formatted.empty()
                               ? FormatText(u"Cannot unserialize a version string. Specified "
                                            u"string: [%1].",
                                            {row.text})
                               : u"<none>");
    }
    const std::u16string own = GetOwnModuleFilePath();
    if (support::kOnLinux) {
        EXPECT_EQ(MessageOf([&] { GetFileVersion(own); }),
                  u"Cannot get file version. File path: [" + own + u"].\r\n" +
                      CWin32Exc(u"Cannot obtain the size of the VERSION_INFO structure.", 50)
                          .GetFullMessage());
    }
}

class FileSystemTest : public testing::Test {
protected:
    std::u16string Path(std::u16string_view name) const { return m_folder.Path(name); }
    std::u16string Failure(std::u16string_view text, TextArgs args, std::uint32_t code) const {
        return CWin32Exc(text, args, code).GetFullMessage();
    }

    support::CTempFolder m_folder;
};

TEST_F(FileSystemTest, CreatesFoldersWithTheirAncestors) {
    // In the long form of Windows a slash separates nothing.
    const std::u16string deep = Path(u"x") + (support::kOnLinux ? u"/y\\z/" : u"\\y\\z\\");
    CreateFolder(deep);
    CreateFolder(deep);
    EXPECT_TRUE(fs::is_directory(m_folder.Native(u"x/y/z")));
    ASSERT_TRUE(WriteWhole(Path(u"file"), ""));
    const std::u16string below = Path(u"file/a/b");
    EXPECT_EQ(MessageOf([&] { CreateFolder(below); }),
              FormatText(u"Cannot create folder [%1].\r\nCannot create folder [%2].\r\n",
                         {below, Path(u"file/a")}) +
                  Failure(u"CreateDirectoryW(%1) failed.", {ToLongPath(Path(u"file/a"))}, 3));
    EXPECT_EQ(MessageOf([] { CreateFolder(u"name"); }),
              u"Cannot create folder [name].\r\nInvalid folder path: [name].");
    EXPECT_EQ(MessageOf([] { CreateFolder(u"\\\\missing"); }),
              u"Cannot create folder [\\\\missing].\r\nInvalid folder path: [\\\\missing].");
    EXPECT_EQ(MessageOf([&] { CopyFile(Path(u"file"), u"name", true); }),
              FormatText(u"Cannot copy file. Source file: [%1]. Target file: [name].\r\n"
                         u"Cannot create folder [].\r\nInvalid folder path: [].",
                         {Path(u"file")}));
}

TEST_F(FileSystemTest, DeletesAndCopies) {
    const std::u16string file = Path(u"f");
    ASSERT_TRUE(WriteWhole(file, "1"));
    EXPECT_TRUE(FileExists(file) && FileExists(Path(u"?")) && FileExists(m_folder.Path()));
    EXPECT_FALSE(FileExists(Path(u"g*")));
    DeleteFile(Path(u"missing"));
    CopyFile(file, Path(u"new/g"), true);
    CopyFile(file, Path(u"new/g"), false);
    EXPECT_EQ(ReadWhole(Path(u"new/g")), "1");
    EXPECT_EQ(MessageOf([&] { CopyFile(Path(u"missing"), file, false); }),
              FormatText(u"Cannot copy file. Source file: [%1]. Target file: [%2].\r\n",
                         {Path(u"missing"), file}) +
                  Failure(u"CopyFile() failed.", {}, 2));
    CopyFileDurably(file, Path(u"h"));
    EXPECT_EQ(ReadWhole(Path(u"h")), "1");
    EXPECT_EQ(MessageOf([&] { CopyFileDurably(Path(u"new/g"), file); }),
              FormatText(u"Cannot copy file. Source file: [%1]. Target file: [%2].\r\n",
                         {Path(u"new/g"), file}) +
                  Failure(u"CopyFile() failed.", {}, 183));
    EXPECT_FALSE(FileExists(StagedPath(file)));
    ASSERT_TRUE(platform::SetFileAttributesW(file, platform::kAttributeReadOnly));
    DeleteFile(file);
    EXPECT_FALSE(FileExists(file));
    DeleteFileDurably(Path(u"h"));
    DeleteFileDurably(Path(u"h"));
    CreateFolder(Path(u"other"));
    for (const auto& [name, remove] :
         {std::pair{u"new", &DeleteFile}, std::pair{u"other", &DeleteFileDurably}}) {
        EXPECT_EQ(MessageOf([&] { remove(Path(name)); }),
                  FormatText(u"Cannot delete file [%1].\r\n", {Path(name)}) +
                      Failure(u"Cannot delete file.", {}, 5));
    }
    MoveFile(Path(u"new/g"), Path(u"f"), false);
    EXPECT_EQ(MessageOf([&] { MoveFile(Path(u"f"), Path(u"new"), false); }),
              Failure(u"Cannot move file. Source path: [%1]. Target path: [%2].",
                      {ToLongPath(Path(u"f")), ToLongPath(Path(u"new"))}, 183));
    EXPECT_EQ(MessageOf([&] { ResetReadOnly(Path(u"h")); }),
              FormatText(u"Cannot reset the read-only flag. File path: [%1].\r\n", {Path(u"h")}) +
                  Failure(u"Cannot get file attributes. File path: [%1].", {Path(u"h")}, 2));
}

TEST_F(FileSystemTest, CopiesAndRemovesFolders) {
    CreateFolder(Path(u"a/b/c"));
    ASSERT_TRUE(WriteWhole(Path(u"a/b/f"), "1") && WriteWhole(Path(u"a/b/c/g"), "2"));
    CopyFolder(Path(u"a"), Path(u"copy/a"));
    EXPECT_EQ(ReadWhole(Path(u"copy/a/b/f")) + ReadWhole(Path(u"copy/a/b/c/g")), "12");
    const std::u16string belowFile = Path(u"a/b/f/x");
    EXPECT_EQ(MessageOf([&] { CopyFolder(Path(u"a"), belowFile); }),
              FormatText(u"Cannot copy folder. Source folder: [%1]. Target folder: [%2].\r\n"
                         u"Cannot create folder [%3].\r\n",
                         {ToLongPath(Path(u"a")), ToLongPath(belowFile), belowFile}) +
                  Failure(u"CreateDirectoryW(%1) failed.", {ToLongPath(belowFile)}, 3));
    const FolderList list = ListFolder(Path(u"a/b/*"));
    EXPECT_EQ(list.folders, std::vector<std::u16string>{u"c"});
    EXPECT_EQ(list.files, std::vector<std::u16string>{u"f"});
    EXPECT_TRUE(ListFolder(Path(u"missing/*")).files.empty());
    RemoveFolder(Path(u"copy"));
    EXPECT_FALSE(FileExists(Path(u"copy")));
    EXPECT_EQ(MessageOf([&] { RemoveFolder(Path(u"copy")); }),
              FormatText(u"Cannot remove folder [%1].\r\n", {Path(u"copy")}) +
                  Failure(u"RemoveDirectory(%1) failed.", {ToLongPath(Path(u"copy"))}, 2));
}

TEST_F(FileSystemTest, ProcessAndHandles) {
    EXPECT_EQ(CombinePath(GetOwnModuleFolder(), GetOwnModuleFileName()).size(),
              GetOwnModuleFilePath().size());
    EXPECT_TRUE(FileExists(GetModuleFilePath(nullptr)) && FileExists(GetTempFolder() + u"*"));
    EXPECT_NE(GetEnvironmentValue(u"PATH"), u"");
    EXPECT_EQ(MessageOf([] { GetEnvironmentValue(u"ZOREL_NO_SUCH"); }),
              Failure(u"Environmet variable was not found. Environment variable name: [%1].",
                      {u"ZOREL_NO_SUCH"}, 203));
    ASSERT_TRUE(WriteWhole(Path(u"f"), "012345"));
    const platform::CFileHandle copy = DuplicateHandleOf(support::OpenToRead(Path(u"f")).Get());
    char bytes[8] = {};
    SetFilePointerTo(copy.Get(), 2);
    ReadExactly(copy.Get(), bytes, 3);
    EXPECT_STREQ(bytes, "234");
    EXPECT_EQ(MessageOf([&] { ReadExactly(copy.Get(), bytes, 2); }),
              u"The number of bytes read from the file is less than the required. Retrieved bytes "
              u"number: [1]. Required bytes number: [2].");
    EXPECT_EQ(MessageOf([&] { SetFilePointerTo(copy.Get(), -1); }),
              Failure(u"Cannot set file pointer. Specified position: [-1]. Move method: "
                      u"[FILE_BEGIN].",
                      {}, 131));
    EXPECT_TRUE(MessageOf([&] { StartProcess(Path(u"missing"), u"x"); })
                    .starts_with(FormatText(u"Cannot create a new process. Path to the executable "
                                            u"file: [%1]. Command line arguments: [x].",
                                            {Path(u"missing")})));
}

TEST_F(FileSystemTest, WaitsForFiles) {
    EXPECT_EQ(MessageOf([&] { FileWaitCreation(Path(u"f"), 0); }),
              u"FileWaitCreation() timeout occured.");
    auto writer = std::async(std::launch::async, [&] { return WriteWhole(Path(u"f"), "x"); });
    FileWaitCreation(Path(u"f"), 5);
    ASSERT_TRUE(writer.get());
    const platform::CFileHandle holder = support::OpenToWrite(Path(u"f"));
    FileWaitCreation(Path(u"f"), 1);
    EXPECT_EQ(MessageOf([&] { FileWaitCreation(m_folder.Path(), 1); }),
              Failure(u"Cannot open file in FileWaitCreation()", {}, 5));
}

}  // namespace
}  // namespace frame
