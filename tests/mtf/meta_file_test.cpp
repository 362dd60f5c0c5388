// Meta-files on the disk: reading, writing, and the messages of failures.
#include "mtf/store/meta_file.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "frame/conversions.h"
#include "mtf/tree/opened_meta_file.h"
#include "support/engine_failure.h"
#include "support/meta_file_bytes.h"
#include "support/port_files.h"
#include "support/temp_folder.h"

namespace mtf {
namespace {

using support::MessageOf;
using support::MetaFileBytes;
using support::ReadWhole;
using support::WideBytes;
using support::WriteWhole;
using std::literals::operator""s;
using Texts = std::vector<std::u16string>;

constexpr auto kLoad = EMtfOpenMode::EMtfLoad;
constexpr auto kOpenRW = EMtfOpenMode::EMtfOpenRW;
constexpr auto kDetached = EMtfOpenMode::EMtfCreateNewDetached;

Texts LinesOf(const CMtfMetaFile& file) {
    Texts lines;
    std::u16string_view line;
    for (std::uint64_t id = 0; id < file.GetLines()->Count(); ++id) {
        lines.emplace_back(file.GetLines()->GetLine(id, line) ? line : u"<none>");
    }
    return lines;
}

// The message of a failed call of the system.
std::u16string SystemFailure(std::uint32_t code) {
    return frame::CWin32Exc(code).GetFullMessage();
}

class MetaFileTest : public testing::Test {
protected:
    std::shared_ptr<CMtfMetaFile> Open(EMtfOpenMode mode) {
        return CMtfMetaFile::Open(m_path, mode);
    }
    // A message with the path as %1.
    std::u16string Named(std::u16string_view text) const {
        return frame::FormatText(text, {m_path});
    }

    support::CTempFolder m_folder;
    std::u16string m_path = m_folder.Path(u"m");
    std::u16string m_old = m_path + u".old";
};

// The expected text of 8-bit bytes, which depends on the system.
std::u16string Narrow(std::string_view bytes, std::u16string_view onLinux) {
    return support::kOnLinux ? std::u16string(onLinux) : frame::AnsiToWide(bytes);
}

const std::u16string kCannotOpen = u"Cannot create or load meta-file \"%1\". Open mode: ";
const std::u16string kCannotSave = u"Cannot save changes in meta-file \"%1\".";
const std::u16string kNotOpened = u"\r\nFailed to create new binary file [%1].\r\n";
const std::u16string kParse = u"\r\nParsing of the meta-file \"%1\" has been failed.\r\n";

TEST_F(MetaFileTest, CutsContentIntoLines) {
    const struct {
        const char* label;
        std::string bytes;
        Texts lines;
    } kRows[] = {
        {"empty", "", {}},
        {"mark only", "\xFF\xFE", {}},
        {"no line end at the end", MetaFileBytes(u"a=1\r\nb=2"), {u"a=1", u"b=2"}},
        {"the last line end stays", MetaFileBytes(u"a=1\r\nb=2\r\n"), {u"a=1", u"b=2\r\n"}},
        {"only a line end", MetaFileBytes(u"\r\n"), {u"\r\n"}},
        {"empty lines", MetaFileBytes(u"\r\n\r\n\r\na"), {u"", u"", u"", u"a"}},
        {"single CR and LF", MetaFileBytes(u"a\rb\nc\n\rd"), {u"a\rb\nc\n\rd"}},
        {"embedded NUL", MetaFileBytes(u"a=1\0x\r\nb\0=2\r\n\0"s), {u"a=1", u"b", u""}},
        {"line end at no offset", MetaFileBytes(u"\x0D00\x0A0D\x0A00"), {u"\x0D00\x0A0D\x0A00"}},
        {"8-bit text", "a=\xC3\xA9\r\nb=2\r\n", {Narrow("a=\xC3\xA9", u"a=\u00E9"), u"b=2\r\n"}},
        {"8-bit text with stray bytes",
         "\xFFz\r\n\xC3\r\n\xA9",
         {Narrow("\xFFz", u"\xDCFFz"), Narrow("\xC3", u"\xDCC3"), Narrow("\xA9", u"\xDCA9")}},
        {"8-bit text with NUL", "a\0b\r\nc"s, {u"a", u"c"}},
        {"one byte of a mark", "\xFF", {Narrow("\xFF", u"\xDCFF")}},
        {"mark of the other order", "\xFE\xFF", {Narrow("\xFE\xFF", u"\xDCFE\xDCFF")}},
    };
    for (const auto& row : kRows) {
        ASSERT_TRUE(WriteWhole(m_path, row.bytes));
        EXPECT_EQ(LinesOf(*Open(kLoad)), row.lines) << row.label;
    }
}

TEST_F(MetaFileTest, RefusesBadContentAndPaths) {
    const std::u16string odd = kParse + u"Unicode meta-file \"%1\" contains non-unicode lines.";
    const std::u16string copy =
        u"\r\nCannot copy file. Source file: [%1.old]. Target file: [%1].\r\n"
        u"CopyFile() failed.\r\n";
    const struct {
        const char* label;
        const char* bytes;  // null: no file
        std::size_t size;
        EMtfOpenMode mode;
        std::u16string message;
    } kRows[] = {
        // clang-format off
        {"odd byte count", "\xFF\xFE\0a\0", 5, kLoad, u"EMtfLoad" + odd},
        {"line end at an odd offset", "\xFF\xFEz\r\0\n\0a", 8, kLoad, u"EMtfLoad" + odd},
        {"the same after whole lines", "\xFF\xFEz\0\r\0\n\0y\r\0\n\0a", 14, kLoad, u"EMtfLoad" + odd},
        {"no file", nullptr, 0, kLoad, u"EMtfLoad\r\nFile \"%1\" does not exist."},
        {"unknown mode", nullptr, 0, static_cast<EMtfOpenMode>(3), u"3\r\nThe specified open mode \"3\" is not supported."},
        // clang-format on
    };
    for (const auto& row : kRows) {
        std::filesystem::remove(m_folder.Native(u"m"));
        ASSERT_TRUE(row.bytes == nullptr || WriteWhole(m_path, {row.bytes, row.size}));
        EXPECT_EQ(MessageOf([&] { Open(row.mode); }), Named(kCannotOpen + row.message))
            << row.label;
    }

    std::filesystem::create_directory(m_folder.Native(u"m"));
    EXPECT_EQ(MessageOf([&] { Open(kOpenRW); }),
              Named(kCannotOpen + u"EMtfOpenRW" + kNotOpened) + SystemFailure(5));
    ASSERT_TRUE(WriteWhole(m_old, MetaFileBytes(u"a=1")));
    EXPECT_EQ(MessageOf([&] { Open(kOpenRW); }),
              Named(kCannotOpen + u"EMtfOpenRW" + copy) + SystemFailure(5));
    EXPECT_TRUE(std::filesystem::exists(m_folder.Native(u"m.old"))) << "the copy was deleted";
    m_path = m_folder.Path(u"missing/m");
    EXPECT_EQ(MessageOf([&] { Open(kOpenRW); }),
              Named(kCannotOpen + u"EMtfOpenRW" + kNotOpened) + SystemFailure(3));
    EXPECT_EQ(MessageOf([&] { Open(kDetached)->Save(); }),
              Named(kCannotSave + kNotOpened) + SystemFailure(3));
}

TEST_F(MetaFileTest, RefusesFilesOfTheSizeLimit) {
    std::ofstream(m_folder.Native(u"m")).put('x');
    std::filesystem::resize_file(m_folder.Native(u"m"), kMetaFileSizeLimit - 1);
    EXPECT_EQ(LinesOf(*Open(kLoad)), Texts{u"x"});
    std::filesystem::resize_file(m_folder.Native(u"m"), kMetaFileSizeLimit);
    EXPECT_EQ(MessageOf([&] { Open(kLoad); }),
              Named(kCannotOpen + u"EMtfLoad" + kParse +
                    u"Size of the meta-file  \"%1\" is too big (104857600 bytes)"));
}

TEST_F(MetaFileTest, WaitsOneSecondForAFileInUse) {
    const auto holder = Open(kOpenRW);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(MessageOf([&] { Open(kLoad); }),
              Named(kCannotOpen + u"EMtfLoad" + kNotOpened) + SystemFailure(32));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(1000));
    EXPECT_LT(waited, std::chrono::seconds(20));

    // Nor can the file be deleted while it is held, with or without a copy.
    for (const std::string copy : {"<none>", "copy"}) {
        ASSERT_TRUE(copy == "<none>" || WriteWhole(m_old, copy));
        EXPECT_EQ(MessageOf([&] { Open(kDetached); }),
                  Named(kCannotOpen + u"EMtfCreateNewDetached\r\nCannot delete file [%1].\r\n") +
                      SystemFailure(32));
        EXPECT_EQ(ReadWhole(m_path), "\xFF\xFE");
        EXPECT_EQ(ReadWhole(m_old), copy);
    }
    std::filesystem::remove(m_folder.Native(u"m.old"));

    // A save that cannot open the file leaves no copy.
    holder->CloseFile();
    const auto loaded = Open(kLoad);
    const auto next = Open(kOpenRW);
    EXPECT_EQ(MessageOf([&] { loaded->Save(); }),
              Named(kCannotSave + kNotOpened) + SystemFailure(32));
    EXPECT_EQ(ReadWhole(m_old), "<none>");
}

TEST_F(MetaFileTest, OpensByMode) {
    const std::string kOldBytes = MetaFileBytes(u"old=1");
    const std::string kNone = "<none>";
    const struct {
        const char* label;
        const char16_t *file, *old;
        EMtfOpenMode mode;
        Texts lines;
        std::string fileAfter, oldAfter;
    } kRows[] = {
        {"load", u"a=1", nullptr, kLoad, {u"a=1"}, MetaFileBytes(u"a=1"), kNone},
        {"load of a copy", u"a", u"old=1", kLoad, {u"old=1"}, MetaFileBytes(u"a"), kOldBytes},
        {"load of a copy alone", nullptr, u"old=1", kLoad, {u"old=1"}, kNone, kOldBytes},
        {"create", nullptr, nullptr, kOpenRW, {}, "\xFF\xFE", kNone},
        {"open", u"a=1", nullptr, kOpenRW, {u"a=1"}, MetaFileBytes(u"a=1"), kNone},
        {"recover", u"a", u"old=1", kOpenRW, {u"old=1"}, kOldBytes, kNone},
        {"recover a missing file", nullptr, u"old=1", kOpenRW, {u"old=1"}, kOldBytes, kNone},
        {"start empty", u"a=1", u"old=1", kDetached, {}, kNone, kNone},
        {"start empty without a file", nullptr, nullptr, kDetached, {}, kNone, kNone},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.label);
        for (const auto& [path, text] : {std::pair{m_path, row.file}, std::pair{m_old, row.old}}) {
            platform::DeleteFileW(path);
            ASSERT_TRUE(text == nullptr || WriteWhole(path, MetaFileBytes(text)));
        }
        const auto file = Open(row.mode);
        EXPECT_EQ(LinesOf(*file), row.lines);
        EXPECT_EQ(ReadWhole(m_path), row.fileAfter);
        EXPECT_EQ(ReadWhole(m_old), row.oldAfter);
    }
}

TEST_F(MetaFileTest, WritesOnlyWhatIsNecessary) {
    ASSERT_TRUE(WriteWhole(m_path, "a=1"));
    const auto before = std::filesystem::last_write_time(m_folder.Native(u"m"));
    const auto file = CMtfOpenedMetaFile::Open(m_path, kOpenRW);
    file->File().Save();
    EXPECT_EQ(std::filesystem::last_write_time(m_folder.Native(u"m")), before);
    // 8-bit text is kept by an append and converted by a rewrite.
    file->Lines().PushComment(u"a\r\n\r\nb\n");
    file->File().Save();
    EXPECT_EQ(ReadWhole(m_path), "a=1" + WideBytes(u"\r\n#a\r\n#\r\n#b"));
    file->Tree().SetAttr(0, u"x", u"1");
    file->Tree().SetAttr(0, u"a", u"2");
    idxdata::CMtfOutBuffer out(2048);
    EXPECT_EQ(MessageOf([&] { file->Lines().ComposeTail(out); }),
              u"There are one or more lines updated at the beginning of the file.");
    EXPECT_EQ(MessageOf([&] { file->Lines().ReplaceAttrLine(5, u"n", u"v"); }),
              u"There is no line 5 in meta-file " + m_path);
    file->File().Save();
    EXPECT_EQ(ReadWhole(m_path), MetaFileBytes(u"a=2\r\n#a\r\n#\r\n#b\r\nx=1"));
    for (std::uint64_t line = 0; line < 5; ++line) {
        file->Lines().MarkDeleted(line);
    }
    file->File().Save();
    file->Lines().PushComment(u"first");
    file->File().Save();
    EXPECT_EQ(ReadWhole(m_path), MetaFileBytes(u"#first"));
}

TEST_F(MetaFileTest, RewritesWhatItDoesNotHold) {
    ASSERT_TRUE(WriteWhole(m_path, "a=\xC3\xA9\r\nb"));
    const auto file = Open(kLoad);
    std::filesystem::remove(m_folder.Native(u"m"));
    file->Save();
    EXPECT_EQ(ReadWhole(m_path), MetaFileBytes(Narrow("a=\xC3\xA9", u"a=\u00E9") + u"\r\nb"));
}

}  // namespace
}  // namespace mtf
