// Streams whose reads or writes of the file fail.
#include <gtest/gtest.h>

#include "idxdata/browser/data_file_browser.h"
#include "idxdata/streams/file_reader.h"
#include "idxdata/streams/file_writer.h"
#include "idxdata/streams/stream_file_reader.h"
#include "idxdata/tables/file_record_cursor.h"
#include "support/disk_faults.h"
#include "support/engine_failure.h"
#include "support/index_file_builder.h"
#include "support/port_files.h"
#include "support/temp_folder.h"

namespace idxdata {
namespace {

using support::BadByte;
using support::EFault;
using support::FailureOf;
using support::g_diskFaults;
using support::ReadWhole;
using support::Refused;

// A write fails after half of its bytes. The next one continues there, or fails as well.
TEST(FileWriter, WritesNoByteTwiceAndLosesNone) {
    support::CTempFolder folder;
    const std::u16string path = folder.Path(u"w");
    const std::string_view all = "0123456789abcdef";
    for (const EFault fault : {EFault::FailOnce, EFault::FailFromThen}) {
        CFileWriter writer;
        writer.Create(path);
        writer.WriteBuf(all.data(), 8);
        g_diskFaults.Arm(1, fault);
        const auto refused = Refused("Cannot write file in CFileWriter::WriteBuf", 112);
        EXPECT_EQ(FailureOf([&] { writer.Flush(); }), refused);
        EXPECT_EQ(std::filesystem::file_size(folder.Native(u"w")), 3U);
        writer.WriteBuf(all.data() + 8, 8);
        const bool failsAgain = fault == EFault::FailFromThen;
        EXPECT_EQ(FailureOf([&] { writer.Close(); }), failsAgain ? refused : support::Failure{});
        EXPECT_FALSE(writer.IsOpen());
        g_diskFaults.Disarm();
        const std::string content = ReadWhole(path);
        EXPECT_TRUE(failsAgain ? all.starts_with(content) : content == all) << content;
    }
}

TEST(FileWriter, FollowsNoLinkWhenItOpensAPausedFile) {
    support::CTempFolder folder;
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"victim"), "abcd"));
    for (const bool isHard : {true, false}) {
        CFileWriter writer;
        writer.Create(folder.Path(u"w"), CFileWriter::EOtherEntry::Remove);
        writer.WriteDWord(1);
        writer.Flush();
        writer.Pause();
        std::filesystem::remove(folder.Native(u"w"));
        isHard ? std::filesystem::create_hard_link(folder.Native(u"victim"), folder.Native(u"w"))
               : std::filesystem::create_symlink(folder.Native(u"victim"), folder.Native(u"w"));
        writer.WriteDWord(2);
        EXPECT_EQ(FailureOf([&] { writer.Close(); }),
                  Refused("Cannot write file in CFileWriter::WriteDWord", 1921));
        EXPECT_EQ(ReadWhole(folder.Path(u"victim")), "abcd");
    }
}

// Create cannot close the file before: the writer still has that file, and reports bytes that
// were lost.
TEST(FileWriter, StaysAsItWasWhenTheFileBeforeCannotBeClosed) {
    support::CTempFolder folder;
    for (const bool losesBytes : {false, true}) {
        CFileWriter writer;
        writer.Create(folder.Path(u"w"));
        losesBytes ? writer.WriteDWord(1) : void();
        writer.Flush();
        g_diskFaults.Arm(3, EFault::FailOnce);  // after two attempts to open the new file
        g_diskFaults.isDelayed = true;
        EXPECT_EQ(FailureOf([&] { writer.Create(folder.Path(u"x")); }).code, 112U);
        g_diskFaults.Disarm();
        std::filesystem::remove(folder.Native(u"x"));
        EXPECT_TRUE(writer.IsOpen());
        writer.WriteWord(0x6161);
        EXPECT_EQ(FailureOf([&] { writer.Close(); }).code, losesBytes ? 32U : 0U);
        EXPECT_TRUE(losesBytes || ReadWhole(folder.Path(u"w")) == "aa");
    }
}

TEST(FileWriter, ReportsAFullDeviceWhenItCloses) {
    CFileWriter writer;
    writer.Create(u"/dev/full");
    writer.WriteDWord(1);
    writer.WriteWord(1);
    EXPECT_EQ(FailureOf([&] { writer.Close(); }),
              Refused("Cannot write file in CFileWriter::WriteWord", 112));
}

// A Files table with a bad byte: every record before it is returned, then the operation that
// needs it fails, unless a second attempt succeeds.
template <class Reader>
void ReadWithBadByte(const std::u16string& path, const support::Volume& volume, std::size_t files,
                     BadByte bad, std::string_view message) {
    SCOPED_TRACE(std::to_string(bad.at) + (bad.once ? " once" : "") + (bad.whole ? " whole" : ""));
    const auto sizeOf = [](const support::FileRow& row) { return 32 + 2 * row.name.size(); };
    std::size_t count = 0;
    std::size_t end = files + 46;  // of the records that were read
    g_diskFaults.badByte = bad;
    const support::Failure failure = FailureOf([&] {
        const auto reader = std::make_shared<Reader>();
        reader->Open(path);
        CSeqTableReader table(reader, EIdxTableFiles, rec::CFileRecord());
        CFileRecordCursor cursor(table);
        for (FileRecordView view{}; cursor.Next(view); end += sizeOf(volume.files[count++])) {
            std::u16string name;
            view.AppendNameTo(name);
            ASSERT_EQ(name, volume.files[count].name);
            ASSERT_EQ(view.size, volume.files[count].size);
        }
    });
    g_diskFaults.badByte = {};
    const auto at = static_cast<std::size_t>(bad.at);
    if (failure == support::Failure{}) {
        EXPECT_EQ(count, volume.files.size());
        EXPECT_TRUE(bad.once || at >= end || (at >= 24 && at < files));
        return;
    }
    EXPECT_TRUE(failure.message.starts_with(message)) << failure.message;
    EXPECT_EQ(failure.code, 1117U);
    EXPECT_TRUE(at < 24 || (at >= files && at < end + sizeOf(volume.files[count])));
    EXPECT_TRUE(at < files + 46 ? count == 0 : at >= end);
}

TEST(BadBytes, AreReportedAndCostNothingElse) {
    support::CTempFolder folder;
    const std::u16string path = folder.Path(u"v");
    const support::Volume volume = support::RandomVolume(1, 500, 12'000, 3);
    const std::string bytes = volume.Bytes();
    const std::size_t files = support::ChainTables({DirsTable(volume.dirs)}).size();
    ASSERT_TRUE(support::WriteWhole(path, bytes));
    ASSERT_GT(bytes.size(), 2U * 256 * 1024);
    for (std::size_t at = 0; at < bytes.size(); at += at < 60 ? 7 : 50'021) {
        for (const auto& [once, whole] : {std::pair(false, false), std::pair(false, true),
                                          std::pair(true, false), std::pair(true, true)}) {
            const BadByte bad{static_cast<off_t>(at), once, whole};
            ReadWithBadByte<CFileReader>(path, volume, files, bad,
                                         "Cannot read file in CFileReader::Read");
            ReadWithBadByte<CStreamFileReader>(path, volume, files, bad,
                                               "Cannot read file in CBuffFileReader::Open");
        }
    }
    for (const bool whole : {false, true}) {  // a browser does not read the Files table
        g_diskFaults.badByte = {static_cast<off_t>(files + 200), false, whole};
        EXPECT_EQ(FailureOf([&] { CDataFileBrowser browser(path); }), support::Failure{});
        g_diskFaults.badByte = {};
    }
}

// The position of a line with a bad byte is that after the bytes before it.
TEST(BadBytes, EndALine) {
    support::CTempFolder folder;
    ASSERT_TRUE(support::WriteWhole(folder.Path(u"t"), std::string("a\0\n\0b\0c\0\n\0", 10)));
    CFileReader reader;
    reader.Open(folder.Path(u"t"));
    g_diskFaults.badByte = {6};
    std::u16string line;
    EXPECT_TRUE(reader.ReadTextString(line));
    EXPECT_EQ(FailureOf([&] { reader.ReadTextString(line); }),
              Refused("Cannot read file in CFileReader::ReadTextString.", 1117));
    g_diskFaults.badByte = {};
    EXPECT_EQ(reader.GetCurFilePos(), 6);
    reader.SetCurFilePos(4);
    EXPECT_TRUE(reader.ReadTextString(line));
    EXPECT_EQ(line, u"bc");
}

}  // namespace
}  // namespace idxdata
