#include "tdf/generation/tdf_generator.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <optional>

#include "frame/conversions.h"
#include "frame/errors.h"
#include "frame/logging/logger.h"
#include "platform/errors.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/tdf_generation.h"
#include "support/tdf_model.h"
#include "support/temp_folder.h"
#include "tdf/generation/volume_generator.h"

namespace tdf {
namespace {

using support::ExpectSame;
using support::kFileTimes;
using support::kMorning;
using support::kNoSplit;
using support::TdfFiles;
using support::Volume;

using TdfGeneratorTest = support::CTdfGenerationTest;

// The lines of one output file.
std::string LinesOf(const TdfFiles& files, std::u16string_view name) {
    const auto file = files.find(std::u16string(name));
    if (file == files.end()) {
        return "<no file>";
    }
    std::u16string text(file->second.size() / 2, u'\0');
    std::memcpy(text.data(), file->second.data(), file->second.size());
    return frame::WideToAnsi(text.substr(1));
}

TEST_F(TdfGeneratorTest, WritesRecordLinesAndTheMap) {
    Volume volume = support::SmallVolume();
    volume.files.push_back(
        {u"x", 0, 0, 125911583990000000, std::numeric_limits<std::int64_t>::max()});
    volume.files.push_back({u"neg", 0, 0, -1, -5});
    volume.files.push_back({u"late", 0, 0, std::numeric_limits<std::int64_t>::max(), 0});
    volume.files.push_back({u"leap", 0, 0, 125962991990000000, 10});
    WriteVolume(volume.Bytes());
    EXPECT_EQ(Generate().text, "");
    const TdfFiles files = ReadOutput();
    EXPECT_EQ(LinesOf(files, u"vl.C.CORP.jsmith.0.txt"),
              "01/15/2013 09:05:07, 1234, C:\\Users\\john\\readme.txt\r\n"
              "01/15/2013 09:05:07, 1, C:\\Users\\john\\docs\\b.txt\r\n"
              "01/15/2013 09:05:07, 5, C:\\Users\\john\\Report.final.docx\r\n"
              "12/31/1999 23:59:59, 9223372036854775807, C:\\x\r\n"
              "01/01/1601 00:00:00, -5, C:\\neg\r\n"
              "12/31/9999 23:59:59, 0, C:\\late\r\n"
              "02/29/2000 11:59:59, 10, C:\\leap\r\n");
    EXPECT_EQ(LinesOf(files, u"vl.C.unkn0.0.txt"),
              "01/15/2013 09:05:08, 2, C:\\Users\\john\\docs\\A.txt\r\n");
    EXPECT_EQ(LinesOf(files, u"vl.C.unkn1.0.txt"), "01/01/1601 00:00:00, 0, C:\\boot.log\r\n");
    EXPECT_EQ(LinesOf(files, u"owners.C.map"),
              "CORP\\jsmith    ID-1001\r\nunkn0    ID-18\r\nunkn1    id-7\r\n");
    EXPECT_EQ(files.size(), 4U);
}

TEST_F(TdfGeneratorTest, WritesKeyLines) {
    const std::u16string eightBit = u"\x6572\x6461\x656D\x742E\x7478";
    Volume volume = support::SmallVolume();
    volume.files = {{u"Report.final.docx", 2, 0, kMorning, 5},
                    {eightBit, 2, 0, kMorning, 5},
                    {u"README", 0, 0, kMorning, 5},
                    {u"notes.", 3, 0, kMorning, 5},
                    {u".profile", 0x100000001, 0, kMorning, 5}};
    WriteVolume(volume.Bytes());
    m_settings.bCrcMode = true;
    EXPECT_EQ(Generate().text, "");
    EXPECT_EQ(LinesOf(ReadOutput(), u"vl.C.CORP.jsmith.0.txt"),
              "docx 0hac906abf43d5 Report.final\r\n"
              "docx 1hac906abf43d5 Report\r\n"
              "docx 1hac906abf43d5 final\r\n"
              "docx 2hac906abf43d5 tropeR\r\n"
              "docx 2hac906abf43d5 lanif\r\n"
              "none 0hac90 README\r\n"
              "none 1hac90 README\r\n"
              "none 2hac90 EMDAER\r\n"
              " 0hac906abf43d5 notes\r\n"
              " 1hac906abf43d5 notes\r\n"
              " 2hac906abf43d5 seton\r\n"
              "profile 0hac906abf \r\n");
}

TEST_F(TdfGeneratorTest, SplitsByRecordsAndKeepsTimes) {
    for (const std::int32_t perFile : {-1, 0, 1, 2, 5}) {
        SCOPED_TRACE(perFile);
        Volume volume = support::SmallVolume();
        volume.files.assign(5, {u"f", 0, 0, kMorning, 1});
        volume.files[1].name = u"\xD800";  // no text: no line, and still a record
        WriteVolume(volume.Bytes());
        m_settings.outpFolder = m_folder.Path(u"new/out/" + frame::IntToString(perFile));
        m_settings.recsNumPerTxt = perFile;
        EXPECT_EQ(Generate().text, "");
        const int files = perFile < 2 ? 5 : perFile == 2 ? 3 : 1;
        for (int i = 0; i < files; ++i) {
            ExpectTimes(u"vl.C.CORP.jsmith." + frame::IntToString(i) + u".txt");
        }
        EXPECT_FALSE(support::OpenToRead(
            OutPath(u"vl.C.CORP.jsmith." + frame::IntToString(files) + u".txt")));
        TdfFiles actual;
        for (const auto& [name, content] : Expected(volume)) {
            actual[name] = support::ReadWhole(OutPath(name));
        }
        ExpectSame(actual, Expected(volume));
    }
}

TEST_F(TdfGeneratorTest, ReplacesEarlierOutputAndLeavesTheRest) {
    const Volume volume = support::SmallVolume();
    WriteList(u"Other.x=1\r\nvOLUME.D=d.dat\r\nVolume.C=c.dat");
    ASSERT_TRUE(support::WriteWhole(m_folder.Path(u"c.dat"), volume.Bytes()));
    Volume empty = volume;
    empty.files.clear();
    ASSERT_TRUE(support::WriteWhole(m_folder.Path(u"d.dat"), empty.Bytes()));
    EXPECT_EQ(Generate().text, "");
    ASSERT_TRUE(support::WriteWhole(OutPath(u"vl.C.CORP.jsmith.7.txt"), "older"));
    ASSERT_TRUE(support::WriteWhole(OutPath(u"vl.C.CORP.jsmith.0.txt"), std::string(9999, 'x')));
    EXPECT_EQ(Generate().text, "");
    TdfFiles expected = Expected(volume);
    expected.merge(Expected(empty, u"D"));
    expected[u"vl.C.CORP.jsmith.7.txt"] = "older";
    ExpectSame(ReadOutput(), expected);
}

TEST_F(TdfGeneratorTest, AListWithoutVolumesIsNoFailure) {
    WriteList(u"Volumes.C=c.dat");
    EXPECT_EQ(Generate().text, "");
    EXPECT_TRUE(ReadOutput().empty());
}

Volume DistinctOwners(Volume volume) {
    std::u16string number = u"0";
    for (support::OwnerRow& owner : volume.owners) {
        owner.name += owner.name.empty() ? u"" : number;
        number = frame::IntToString(frame::StringToInt(number) + 1);
    }
    return volume;
}

TEST_F(TdfGeneratorTest, AgreesWithTheModelOnRandomVolumes) {
    struct Row {
        std::int32_t perFile;
        bool crcMode;
        std::int32_t subfoldersMax, additionalParts;
        OwnerFilesLimits limits;
    };
    const Row kRows[] = {
        {kNoSplit, false, 0, 0, {}},
        {7, false, 0, 0, {3, 1024, 64, 256}},
        {1, false, 0, 0, {1, 64, 64, 64}},
        {40, false, 0, 0, {1, 100000, 4096, 65536}},
        {kNoSplit, true, 3, 2, {}},
        {9, true, -1, -1, {2, 600, 30, 200}},
        {kNoSplit, true, 0, 1, {4, 4000, 100, 1000}},
    };
    std::uint32_t seed = 1;
    for (const Row& row : kRows) {
        SCOPED_TRACE(seed);
        Volume volume = DistinctOwners(support::RandomVolume(seed++, 60, 1500, 17));
        for (std::size_t i = 1; i < 100; ++i) {  // a chain deeper than paths go
            volume.dirs.push_back(
                {u"deep" + frame::IntToString(static_cast<std::int32_t>(i)),
                 static_cast<std::int64_t>(volume.dirs.size()) - (i > 1 ? 1 : 60)});
            volume.files.push_back(
                {u"f", static_cast<std::int64_t>(volume.dirs.size()) - 1, 2, kMorning, 3});
        }
        m_settings.outpFolder = m_folder.Path(u"new/out");
        std::filesystem::remove_all(m_folder.Native(u"new"));
        std::filesystem::create_directories(m_folder.Native(u"new/out"));
        m_settings.recsNumPerTxt = row.perFile;
        m_settings.bCrcMode = row.crcMode;
        m_settings.subfoldersMax = row.subfoldersMax;
        m_settings.additionalParts = row.additionalParts;
        WriteVolume(volume.Bytes());
        CVolumeGenerator(m_settings, u"Vol", row.limits).Run(m_folder.Path(u"c.dat"));
        for (const auto& [name, content] : Expected(volume, u"Vol")) {
            if (name.starts_with(u"vl.")) {
                ExpectTimes(name);
            }
        }
        ExpectSame(ReadOutput(), Expected(volume, u"Vol"));
    }
}

TEST_F(TdfGeneratorTest, NamesTheIndexThatLiesOutsideTheFolderTable) {
    struct Row {
        const char* label;
        std::int64_t dir, parentOf5;
        bool crcMode;
        const char* expected;  // the index in the message; empty for success
    };
    constexpr Row kRows[] = {
        {"file beyond the table", 6, 0, false, "6"},
        {"file below it", -1, 0, false, "-1"},
        {"file far beyond", 0x100000001, 0, false, "4294967297"},
        {"only the low half counts", 0x100000001, 0, true, ""},
        {"low half beyond", -1, 0, true, "4294967295"},
        {"parent beyond", 5, 77, false, "77"},
        {"parent below", 5, -9, true, "-9"},
        {"its own parent", 5, 5, false, ""},
        {"its own parent, as a fingerprint", 5, 5, true, ""},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.label);
        Volume volume = support::SmallVolume();
        volume.dirs[5].parent = row.parentOf5;
        volume.files[4].owner = 3;  // skipped, whatever its folder
        volume.files[4].dir = 99;
        volume.files[5].dir = row.dir;
        WriteVolume(volume.Bytes());
        m_settings.bCrcMode = row.crcMode;
        const Failure failure = Generate();
        if (std::string_view(row.expected).empty()) {
            EXPECT_EQ(failure.text, "");
            volume.files[5].dir &= 0xFFFFFFFF;
            ExpectSame(ReadOutput(), Expected(volume));
            continue;
        }
        EXPECT_EQ(failure.text,
                  "A folder index lies outside the folder table. Volume: [C]. File record: [5]. "
                  "Folder index: [" +
                      std::string(row.expected) + "].");
        EXPECT_EQ(failure.result, frame::kInvalidArg);
        // What came before the failure is there.
        EXPECT_EQ(LinesOf(ReadOutput(), u"vl.C.unkn1.0.txt") == "<no file>", false);
    }
}

TEST_F(TdfGeneratorTest, RefusesEveryShortenedFile) {
    const std::string whole = support::SmallVolume().Bytes();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        WriteVolume(whole.substr(0, length));
        EXPECT_LT(Generate().result, 0) << length;
    }
    // And a table that counts more records than there are, before it comes to any line.
    Volume volume = support::SmallVolume();
    volume.files.clear();
    support::TableImage files = FilesTable(volume.files);
    files.recordCount = 3;
    WriteVolume(support::ChainTables({DirsTable(volume.dirs), OwnersTable(volume.owners), files}));
    m_settings.outpFolder = m_folder.Path(u"new/out/more");
    EXPECT_EQ(Generate().text, "The specified size is out of the buffer boundary.");
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.Native(u"new/out/more")));
}

TEST_F(TdfGeneratorTest, RefusesADamagedListAndKeepsWhatWasWritten) {
    const Volume volume = support::SmallVolume();
    WriteVolume(volume.Bytes());
    const std::string list = frame::WideToAnsi(m_settings.binIndexFile);
    const std::string loading =
        "Cannot create or load meta-file \"" + list + "\". Open mode: EMtfLoad\r\n";
    const std::string missing =
        frame::WideToAnsi(platform::SystemMessage(platform::win32err::kFileNotFound));
    const struct {
        std::optional<std::string> bytes;
        std::string expected;
        TdfFiles written;
    } rows[] = {
        {std::nullopt, loading + "File \"" + list + "\" does not exist.", {}},
        {"\xFF\xFEV",
         loading + "Parsing of the meta-file \"" + list +
             "\" has been failed.\r\nUnicode meta-file \"" + list +
             "\" contains non-unicode lines.",
         {}},
        {"=x", "The specified attribute's path () is invalid.", {}},
        {"Volume.C=c.dat\r\nVolume.D=d.dat",
         "Cannot open file CFileReader::Open\r\nWin32 error:" + missing + " Code: 2",
         Expected(volume)},
    };
    for (const auto& row : rows) {
        std::filesystem::remove(m_folder.Native(u"list.mtf"));
        if (row.bytes) {
            ASSERT_TRUE(support::WriteWhole(m_settings.binIndexFile, *row.bytes));
        }
        EXPECT_EQ(Generate().text, row.expected);
        ExpectSame(ReadOutput(), row.written);
    }
}

// A folder that is its own parent would stand in the path 64 times.
TEST_F(TdfGeneratorTest, RefusesPathsWithoutEnd) {
    constexpr std::size_t kAllowed = 16 * 1024 * 1024 / 64;
    Volume volume;
    volume.owners = {{u"S-1", u"u", u"D"}};
    volume.files = {{u"f", 1, 0, kMorning, 5}};
    volume.dirs = {{u"", 0}, {std::u16string(kAllowed, u'n'), 1}};
    WriteVolume(volume.Bytes());
    EXPECT_EQ(Generate().text, "");
    ExpectSame(ReadOutput(), Expected(volume));
    volume.dirs[1].name += u'n';
    WriteVolume(volume.Bytes());
    const Failure failure = Generate();
    EXPECT_EQ(failure.result, frame::kFail);
    EXPECT_TRUE(failure.text.ends_with(
        "The path of a folder is too long. Volume: [C]. File record: [0]. Folder index: [1]."))
        << failure.text;
}

TEST_F(TdfGeneratorTest, NamesCannotLeaveTheFolder) {
    struct Row {
        std::u16string volume, domain, name;
        bool refused;
    };
    const Row kRows[] = {
        {u"C", u"../../up", u"x", true},
        {u"C", u"..\\..\\up", u"x", true},
        {u"C", u"D", u"a/b", true},
        {u"C", u"D", u"a\\b", true},
        {u"C", u"c:", u"x", true},
        {u"C", u"D", u"a:stream", true},
        {u"C", u"D", u"a\nb", true},
        {u"C", u"D", u"what?", true},
        {u"C", u"D", std::u16string(u"a\0b", 3), true},
        {u"C", u"", u"/etc/x", true},
        {u"C", u"..", u"..", false},
        {u"C", u"", u"only", false},
        {u"../V", u"D", u"x", true},
        {u"V:", u"D", u"x", true},
        {u"a b", u"D", u"\u0416 name", false},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(frame::WideToAnsi(row.volume + u" " + row.domain + u" " + row.name));
        Volume volume = support::SmallVolume();
        volume.owners[0] = {u"id", row.name, row.domain};
        WriteVolume(volume.Bytes());
        WriteList(u"Volume." + row.volume + u"=c.dat");
        std::filesystem::remove_all(m_folder.Native(u"new"));
        const Failure failure = Generate();
        if (row.refused) {
            EXPECT_EQ(failure.result, frame::HResultFromWin32(platform::win32err::kInvalidName));
            EXPECT_TRUE(failure.text.starts_with("Cannot create file in CFileWriter::Create\r\n"))
                << failure.text;
            EXPECT_EQ(ReadOutput().size(), 0U);
        } else {
            EXPECT_EQ(failure.text, "");
            ExpectSame(ReadOutput(), Expected(volume, row.volume));
        }
        // Nothing beside the list, the volume and the output folder.
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder.Native()), {}), 3);
    }
}

TEST_F(TdfGeneratorTest, ReportsWhatCannotBeCreated) {
    const Volume volume = support::SmallVolume();
    WriteVolume(volume.Bytes());
    std::filesystem::create_directories(m_folder.Native(u"new/out/owners.C.map"));
    Failure failure = Generate();
    EXPECT_TRUE(
        failure.text.starts_with("Failed to create owners map file. File path:[" +
                                 frame::WideToAnsi(m_settings.outpFolder + u"\\owners.C.map") +
                                 "].\r\nCannot create file in CFileWriter::Create\r\n"))
        << failure.text;
    EXPECT_EQ(failure.result, frame::HResultFromWin32(platform::win32err::kAccessDenied));
    EXPECT_NE(LinesOf(ReadOutput(), u"vl.C.unkn1.0.txt"), "<no file>");

    // Two owners of one label would write to one file.
    Volume twins = volume;
    twins.owners[1] = {u"other", u"jsmith", u"CORP"};
    WriteVolume(twins.Bytes());
    failure = Generate();
    EXPECT_TRUE(failure.text.starts_with("Cannot create file in CFileWriter::Create\r\n"));
    EXPECT_EQ(failure.result, frame::HResultFromWin32(platform::win32err::kSharingViolation));
    // Or of two labels that the file system takes for one. Here the map fails otherwise.
    Volume others = volume;
    others.owners[1] = {u"other", u"JSMITH", u"corp"};
    WriteVolume(others.Bytes());
    EXPECT_EQ(Generate().result, frame::HResultFromWin32(support::kOnWindows ? 32 : 5));

    // One file each: the later record replaces the earlier one.
    std::filesystem::remove(m_folder.Native(u"new/out/owners.C.map"));
    m_settings.recsNumPerTxt = 1;
    WriteVolume(twins.Bytes());
    EXPECT_EQ(Generate().text, "");
    EXPECT_EQ(LinesOf(ReadOutput(), u"vl.C.CORP.jsmith.0.txt"),
              "01/15/2013 09:05:08, 2, C:\\Users\\john\\docs\\A.txt\r\n");

    WriteList(u"Volume.C=missing.dat");
    EXPECT_TRUE(Generate().text.starts_with("Cannot open file CFileReader::Open\r\n"));
}

class CMemoryWriter final : public frame::CLogWriter {
public:
    void Write(std::int32_t level, const frame::CLogger&, std::int32_t,
               std::u16string_view line) override {
        m_lines.push_back(std::to_string(level) + " " + frame::WideToAnsi(line));
    }
    std::vector<std::string> m_lines;
};

TEST_F(TdfGeneratorTest, LogsItsOutcome) {
    const auto log = std::make_shared<CMemoryWriter>();
    frame::ProcessLogger().SetWriter(log);
    WriteList(u"");
    EXPECT_EQ(Generate().text, "");
    std::filesystem::remove(m_folder.Native(u"list.mtf"));
    EXPECT_NE(Generate().text, "");
    frame::ProcessLogger().SetWriter(nullptr);
    const std::string text = "1 Generating text files from binaries.";
    EXPECT_EQ(log->m_lines,
              (std::vector<std::string>{text, text + ". Ok.", text, text + ". Failed."}));
}

}  // namespace
}  // namespace tdf
