// The generation of text data files, through the library object.
#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <random>

#include "support/tdf_generation.h"
#include "tdf/generation/volume_generator.h"

namespace {

using frame::WideToAnsi;
using support::kMorning;
using support::kNoSplit;
using support::TdfFiles;
using support::Volume;

using TdfGenerator = support::CTdfGenerationTest;

TEST_F(TdfGenerator, ReplacesEarlierOutputAndKeepsTheRest) {
    const Volume volume = support::SmallVolume();
    WriteList(u"Volumes.E=e.dat");
    EXPECT_EQ(Generate().text, "") << "a list without volumes";
    ExpectOutput({});
    WriteList(u"Other.x=1\r\nvOLUME.D=d.dat\r\nVolume.C=c.dat");
    Write(u"c.dat", volume.Bytes());
    Volume empty = volume;
    empty.files.clear();
    Write(u"d.dat", empty.Bytes());
    Write(u"new/out/vl.C.CORP.jsmith.7.txt", "older");
    Write(u"new/out/vl.C.CORP.jsmith.0.txt", std::string(9999, 'x'));
    EXPECT_EQ(Generate().text, "");
    EXPECT_EQ(support::ReadWhole(OutPath(u"vl.C.CORP.jsmith.7.txt")), "older");
    std::filesystem::remove(m_folder.Native(u"new/out/vl.C.CORP.jsmith.7.txt"));
    TdfFiles expected = Expected(volume);
    expected.merge(Expected(empty, u"D"));
    ExpectOutput(expected);
}

TEST_F(TdfGenerator, AcceptsEverySpellingOfAPath) {
    WriteVolume(support::SmallVolume().Bytes());
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_folder.Native());
    const TdfFiles expected = Expected(support::SmallVolume());
    for (const auto& [list, out] :
         {std::pair{std::u16string(u"list.mtf"), std::u16string(u"./new/out")},
          std::pair{m_folder.Path() + u"\\./list.mtf", m_folder.Path() + u"\\new/../new//out"}}) {
        std::filesystem::remove_all("new");
        m_settings.binIndexFile = list;
        m_settings.outpFolder = out;
        EXPECT_EQ(Generate().text, "");
        m_settings.outpFolder = m_folder.Path(u"new/out");
        ExpectOutput(expected);
    }
    std::filesystem::current_path(before);
}

// The last and the first second around the end of each February and of each year, and times
// and sizes at and beyond the ends of their ranges.
TEST_F(TdfGenerator, WritesEveryDateAndSize) {
    using namespace std::chrono;
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kTo1970 = 11'644'473'600;
    Volume volume = support::SmallVolume();
    volume.files.clear();
    const auto add = [&](std::int64_t ticks, std::int64_t size) {
        volume.files.push_back({u"f", 0, 0, ticks, size});
    };
    std::mt19937_64 random(3);
    for (int y = 1601; y <= 9999; ++y) {
        for (const sys_seconds moment : {sys_seconds(sys_days(year(y) / January / 1)),
                                         sys_seconds(sys_days(year(y) / February / last)),
                                         sys_seconds(sys_days(year(y) / March / 1)),
                                         sys_seconds(seconds(random() % (400 * 365 * 86400ULL)))}) {
            const std::int64_t ticks = (moment.time_since_epoch().count() + kTo1970) * 10'000'000;
            add(ticks, static_cast<std::int64_t>(random() >> random() % 64));
            add(std::max<std::int64_t>(ticks - 1, 0), -static_cast<std::int64_t>(random() % 1000));
        }
    }
    for (const std::int64_t number : {kMax, -kMax - 1, std::int64_t{-1}, std::int64_t{0}}) {
        add(number, number);
        add(std::int64_t{2'650'467'744'000'000'000} + number % 2, 0);
    }
    Check(volume);
}

TEST_F(TdfGenerator, AgreesWithTheModelOnRandomVolumes) {
    using Row = std::tuple<std::int32_t, bool, std::int32_t, std::int32_t, tdf::OwnerFilesLimits>;
    const Row rows[] = {
        {kNoSplit, false, 0, 0, {}},
        {7, false, 0, 0, {3, 1024, 64, 256}},
        {0, false, 0, 0, {1, 64, 64, 64}},
        {-1, true, 2, 2, {}},
        {40, false, 0, 0, {1, 100000, 4096, 65536}},
        {kNoSplit, true, 3, 2, {}},
        {9, true, -1, -1, {2, 600, 30, 200}},
        {kNoSplit, true, 0, 1, {4, 4000, 100, 1000}},
    };
    m_settings.separators = u"._- \u0443";
    std::u16string manyParts;
    for (char16_t i = 0; i < 300; ++i) {
        manyParts += std::u16string(i * 7 % 5 + 1U, static_cast<char16_t>(0x450 + i)) + u"-";
    }
    for (const auto& row : rows) {
        const auto seed = static_cast<std::uint32_t>(&row - rows) + 1;
        SCOPED_TRACE(seed);
        Volume volume = support::UniqueOwnersVolume(seed, 60, 1500, 17);
        for (std::int64_t i = 1; i < 100; ++i) {  // a chain of more folders than a path holds
            volume.dirs.push_back({u"deep" + support::Wide(std::to_string(i)), i > 1 ? 58 + i : 0});
            volume.files.push_back({u"f", 59 + i, 2, kMorning, 3});
        }
        volume.dirs[7].name.clear();
        volume.files.push_back({manyParts, 3, 2, kMorning, 3});
        volume.files.push_back({u"\u6570\u636E\u6D41", 3, 2, kMorning, 3});
        // No text: it has no line and counts as a record.
        volume.files.insert(volume.files.begin() + 9, {u"\xD800", 3, 2, kMorning, 3});
        std::filesystem::remove_all(m_folder.Native(u"new"));
        std::filesystem::create_directories(m_folder.Native(u"new/out"));
        tdf::OwnerFilesLimits limits;
        std::tie(m_settings.recsNumPerTxt, m_settings.bCrcMode, m_settings.subfoldersMax,
                 m_settings.additionalParts, limits) = row;
        WriteVolume(volume.Bytes());
        tdf::CVolumeGenerator(m_settings, u"Vol", limits).Run(m_folder.Path(u"c.dat"));
        ExpectOutput(Expected(volume, u"Vol"));
    }
}

// More and longer paths than the generator caches, then some of them again.
TEST_F(TdfGenerator, WritesPathsThatItNoLongerCaches) {
    Volume volume;
    volume.dirs = {{u"", 0}};
    volume.owners = {{u"S-1", u"u", u"D"}};
    for (std::int64_t i = 1; i < 63 + 270; ++i) {
        const auto letter = static_cast<char16_t>(u'a' + i % 26);
        volume.dirs.push_back({std::u16string(1000, letter), std::min<std::int64_t>(i - 1, 62)});
    }
    for (std::int64_t i = 0; i < 280; ++i) {
        volume.files.push_back({u"f", 63 + i % 270, 0, kMorning, i});
    }
    Check(volume);
}

TEST_F(TdfGenerator, NamesTheIndexOutsideTheFolderTable) {
    const std::tuple<std::int64_t, std::int64_t, bool, std::string> rows[] = {
        {6, 0, false, "6"},  {0x100000001, 0, false, "4294967297"},
        {-1, 0, true, "-1"}, {5, 77, false, "77"},
        {5, -9, true, "-9"},
    };
    Volume volume = support::SmallVolume();
    volume.files[4].owner = 3;  // skipped, so its folder is not used
    volume.files[4].dir = 99;
    volume.files[5].name = u"\xD800";  // no text: its folder is read before
    for (const auto& [dir, parentOf5, crcMode, index] : rows) {
        volume.dirs[5].parent = parentOf5;
        volume.files[5].dir = dir;
        WriteVolume(volume.Bytes());
        m_settings.bCrcMode = crcMode;
        const Failure failure = Generate();
        EXPECT_EQ(failure.text,
                  "A folder index lies outside the folder table. Volume: [C]. File record: [5]. "
                  "Folder index: [" +
                      index + "].");
        EXPECT_EQ(failure.result, E_INVALIDARG);
        EXPECT_NE(support::ReadWhole(OutPath(u"vl.C.unkn1.0.txt")), "<none>");
    }
    volume = support::SmallVolume();
    volume.files[5].dir = 0x100000001;  // key lines use the low 32 bits
    Check(volume);
}

TEST_F(TdfGenerator, RefusesEveryShortenedFile) {
    const std::string whole = support::SmallVolume().Bytes();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        WriteVolume(whole.substr(0, length));
        const Failure failure = Generate();
        EXPECT_EQ(failure.text, "The specified size is out of the buffer boundary.") << length;
        EXPECT_EQ(failure.result, E_FAIL);
    }
    // A table that counts more records than there are fails before any line is written.
    Volume volume = support::SmallVolume();
    support::TableImage files = support::FilesTable({});
    files.recordCount = 3;
    WriteVolume(support::ChainTables({DirsTable(volume.dirs), OwnersTable(volume.owners), files}));
    m_settings.outpFolder = m_folder.Path(u"new/out/more");
    EXPECT_EQ(Generate().text, "The specified size is out of the buffer boundary.");
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.Native(u"new/out/more")));
}

TEST_F(TdfGenerator, RefusesADamagedListAndKeepsWhatWasWritten) {
    const Volume volume = support::SmallVolume();
    const std::string list = WideToAnsi(m_settings.binIndexFile);
    const std::string loading =
        "Cannot create or load meta-file \"" + list + "\". Open mode: EMtfLoad\r\n";
    EXPECT_EQ(Generate().text, loading + "File \"" + list + "\" does not exist.");
    WriteVolume(volume.Bytes());
    const struct {
        std::string list, expected;
        TdfFiles written;
    } rows[] = {
        {"\xFF\xFEV",
         loading + "Parsing of the meta-file \"" + list + "\" has been failed.\r\n",
         {}},
        {"=x", "The specified attribute's path () is invalid.", {}},
        {"Volume.C=c.dat\r\nVolume.D=d.dat",
         "Cannot open file CBuffFileReader::Open\r\nWin32 error:", Expected(volume)},
    };
    for (const auto& row : rows) {
        Write(u"list.mtf", row.list);
        const std::string message = Generate().text;
        EXPECT_TRUE(message.starts_with(row.expected)) << message;
        ExpectOutput(row.written);
    }
}

// A folder that is its own parent is 64 times in the path.
TEST_F(TdfGenerator, RefusesPathsThatAreTooLong) {
    constexpr std::size_t kAllowed = 16 * 1024 * 1024 / 64;
    Volume volume;
    volume.owners = {{u"S-1", u"u", u"D"}};
    volume.files = {{u"f", 1, 0, kMorning, 5}};
    volume.dirs = {{u"", 0}, {std::u16string(kAllowed, u'n'), 1}};
    Check(volume);
    volume.dirs[1].name += u'n';
    WriteVolume(volume.Bytes());
    const Failure failure = Generate();
    EXPECT_EQ(failure.result, E_FAIL);
    EXPECT_EQ(
        failure.text,
        "The path of a folder is too long. Volume: [C]. File record: [0]. Folder index: [1].");
}

TEST_F(TdfGenerator, NamesCannotLeaveTheFolder) {
    const struct {
        std::u16string volume, domain, name;
        bool refused;
    } rows[] = {
        {u"C", u"../../up", u"x", true},      {u"C", u"D", u"a\\b", true},
        {u"C", u"D", u"a:stream", true},      {u"C", u"D", u"a\nb", true},
        {u"C", u"D", u"what?", true},         {u"C", u"D", std::u16string(u"a\0b", 3), true},
        {u"../V", u"D", u"x", true},          {u"C", u"..", u"..", false},
        {u"a b", u"", u"\u0416 name", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(WideToAnsi(row.volume + u" " + row.domain + u" " + row.name));
        Volume volume = support::SmallVolume();
        volume.owners[0] = {u"id", row.name, row.domain};
        WriteVolume(volume.Bytes());
        WriteList(u"Volume." + row.volume + u"=c.dat");
        std::filesystem::remove_all(m_folder.Native(u"new"));
        const Failure failure = Generate();
        EXPECT_EQ(failure.result, row.refused ? static_cast<HRESULT>(0x8007007B) : S_OK);
        EXPECT_EQ(failure.text.starts_with("Cannot create file in CFileWriter::Create\r\n"),
                  row.refused);
        ExpectOutput(row.refused ? TdfFiles() : Expected(volume, row.volume));
        // No file outside: the folder holds the list, the volume and the output folder.
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder.Native()), {}), 3);
    }
}

TEST_F(TdfGenerator, ReportsWhatCannotBeCreated) {
    const Volume volume = support::SmallVolume();
    WriteVolume(volume.Bytes());
    std::filesystem::create_directories(m_folder.Native(u"new/out/owners.C.map"));
    Failure failure = Generate();
    EXPECT_TRUE(failure.text.starts_with("Failed to create owners map file. File path:[" +
                                         WideToAnsi(m_settings.outpFolder + u"\\owners.C.map") +
                                         "].\r\nCannot create file in CFileWriter::Create\r\n"))
        << failure.text;
    EXPECT_EQ(failure.result, static_cast<HRESULT>(0x80070005));
    EXPECT_NE(support::ReadWhole(OutPath(u"vl.C.unkn1.0.txt")), "<none>");

    // Two owners with one label write to one file.
    Volume shared = volume;
    shared.owners[1] = {u"other", u"jsmith", u"CORP"};
    WriteVolume(shared.Bytes());
    failure = Generate();
    EXPECT_TRUE(failure.text.starts_with("Cannot create file in CFileWriter::Create\r\n"));
    EXPECT_EQ(failure.result, static_cast<HRESULT>(0x80070020));
    // Two labels that differ in case are one on Windows only; here the map fails as above.
    Volume others = volume;
    others.owners[1] = {u"other", u"JSMITH", u"corp"};
    WriteVolume(others.Bytes());
    EXPECT_EQ(Generate().result,
              static_cast<HRESULT>(support::kOnWindows ? 0x80070020 : 0x80070005));

    // With one record in each file, the later record replaces the earlier one.
    std::filesystem::remove(m_folder.Native(u"new/out/owners.C.map"));
    m_settings.recsNumPerTxt = 1;
    WriteVolume(shared.Bytes());
    EXPECT_EQ(Generate().text, "");
    EXPECT_EQ(
        support::ReadWhole(OutPath(u"vl.C.CORP.jsmith.0.txt")),
        support::Utf16Bytes(u"\uFEFF01/15/2013 09:05:08, 2, C:\\Users\\john\\docs\\A.txt\r\n"));
}

TEST_F(TdfGenerator, FingerprintsAgreeWithTheModelOnRandomPaths) {
    constexpr INT kLimits[] = {std::numeric_limits<INT>::min(), -1, 0, 1, 2, 3, 7};
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        std::u16string path(random() % 40, u' ');
        for (char16_t& unit : path) {
            unit = random() % 5 == 0
                       ? u"\\/"[random() % 2]
                       : static_cast<char16_t>(1 + random() % (i % 2 == 0 ? 127 : 65535));
        }
        const INT limit = kLimits[random() % std::size(kLimits)];
        automation::CBstr text;
        ASSERT_EQ(m_lib->ConvetrPathToCrcStr(support::Bstr(path).Get(), limit, text.Put()), S_OK);
        ASSERT_EQ(automation::TextOf(text.Get()),
                  u"0h" + support::PlainFingerprint(support::Split(path, u"\\/"), limit))
            << i;
    }
}

}  // namespace
