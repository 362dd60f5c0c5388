// The search of binary data, through the library object.
#include <gtest/gtest.h>

#include <ctime>
#include <limits>

#include "support/index_file_builder.h"
#include "support/search_client.h"
#include "support/tdf_model.h"

namespace {

using automation::CComPtr;
using support::Bstr;
using support::Criteria;
using support::EBinding;
using support::FoundFile;
using support::Volume;

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kTicksPerDay = 864'000'000'000;

class BinarySearch : public support::SearchTest {
protected:
    // Volumes "Volume.C", "Volume.D" and so on.
    void SetVolumes(const std::vector<Volume>& volumes) {
        std::u16string summary = u"\uFEFF#";
        m_volumes.clear();
        for (const Volume& volume : volumes) {
            const auto letter = static_cast<char16_t>(u'C' + m_volumes.size());
            const std::u16string key = std::u16string(u"Volume.") + letter;
            const std::u16string name = letter + std::u16string(u".dat");
            summary += u"\r\n" + key + u"=" + name;
            m_volumes.emplace_back(key, volume);
            Write(name, volume.Bytes());
        }
        Write(u"summary.txt", support::Utf16Bytes(summary));
    }

    support::CallResult Load(CComPtr<IOibBDFSearchTask>& task) {
        return support::Call<&IOibIdxLib::FindInOibBDF>(EBinding::Early, m_lib.Get(),
                                                        Bstr(m_folder.Path()).Get(), task.Put());
    }
    CComPtr<IOibBDFSearchTask> Loaded() {
        CComPtr<IOibBDFSearchTask> task;
        EXPECT_EQ(Load(task).hr, S_OK);
        return task;
    }
    static support::CallResult Find(IOibBDFSearchTask* task, const Criteria& criteria) {
        return support::Call<&IOibBDFSearchTask::Find>(EBinding::Early, task,
                                                       support::CSpec(criteria).Get());
    }
    // The results of one search, which succeeds.
    std::vector<FoundFile> Found(const Criteria& criteria, EBinding binding = EBinding::Early) {
        const auto task = Loaded();
        EXPECT_EQ(Find(task.Get(), criteria).hr, S_OK);
        return support::ReadResults(binding, task.Get());
    }
    // The message of a search for everything, which fails.
    std::u16string Message() { return Find(Loaded().Get(), {}).error.description; }
    // Compares several searches of one task with the model.
    void Check(const std::vector<Criteria>& finds) {
        const auto task = Loaded();
        Criteria criteria;
        std::vector<FoundFile> expected;
        for (const Criteria& find : finds) {
            criteria.Merge(find);
            const auto outcome = support::ModelBinSearch(m_volumes, criteria);
            expected.insert(expected.end(), outcome.files.begin(), outcome.files.end());
            support::ExpectFailure(Find(task.Get(), find), outcome);
        }
        EXPECT_TRUE(support::ReadResults(EBinding::Early, task.Get()) == expected);
    }

    support::Volumes m_volumes;
};

Volume SampleVolume() {
    constexpr std::int64_t kTime = 130'027'143'072'500'000;  // 2013-01-15 09:05:07.25
    Volume volume;
    volume.dirs = {{u"", 0}, {u"Users", 0}, {u"John", 1}, {u"Users2", 0}, {u"users", 2}};
    volume.owners = {{u"S-1", u"", u"CORP"},
                     {u"s-2", u"S-2", u"CORP"},
                     {u"S-3", u"JSmith", u"CORP"},
                     {u"S-4", u"jsmith", u""},
                     {u"S-5", u"a.b", u"X"}};
    volume.files = {{u"annual_report.doc", 2, 2, kTime, 1},
                    {u"Report.txt", 1, 0, kTime + kTicksPerDay, 0},
                    {u"a.TXT", 3, 1, kTime, kMax},
                    {u"b.txt/", 0, 7, kTime, kMin},
                    {u"", 4, 4, kTime, 5},
                    {u"late\\", 4, 3, kTime - 3650 * kTicksPerDay, 6}};
    return volume;
}

constexpr double kTime = 41289.37855324074;

TEST_F(BinarySearch, AgreesWithTheModelOnEachCriterion) {
    SetVolumes({SampleVolume()});
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const Criteria& criteria : {
             Criteria{.pattern = u"??????????????"},
             {.pattern = u"annual*doc"},
             {.pattern = u"l*doc"},  // the first token is not at the start; the second is rarer
             {.owner = u"\\jsmith"},
             {.owner = u"x\\a.b"},
             {.owner = u"s-2"},
             {.root = u"c:\\\\users\\john\\USERS"},
             {.root = u"c:/users"},
             {.root = u"\\\\"},
             {.time = {{kTime, kTime}}},
             {.time = {{kNaN, kTime - 1}}},
             {.time = {{-kInfinity, kInfinity}}},
             {.size = {{kMax, kMax}}},
         }) {
        Check({criteria, {}, criteria});
        Check({{.pattern = u"report", .owner = u"jsmith", .time = {{kTime, kTime}}},
               criteria,
               {.pattern = u"", .owner = u"", .size = {{kMin, kMax}}, .serverRule = true}});
    }
}

TEST_F(BinarySearch, ShowsPathTimeSizeAndOwner) {
    SetVolumes({SampleVolume()});
    const std::vector<FoundFile> expected = {
        {u"C:\\Users\\John\\annual_report.doc", kTime, 1, u"CORP\\JSmith"},
        {u"C:\\Users\\Report.txt", kTime + 1, 0, u"unkn0"},
        {u"C:\\Users2\\a.TXT", kTime, kMax, u"unkn1"},
        {u"C:\\b.txt", kTime, kMin, u""},
        {u"C:\\Users\\John\\users\\", kTime, 5, u"X\\a.b"},
        {u"C:\\Users\\John\\users\\late", kTime - 3650, 6, u"jsmith"},
    };
    for (const EBinding binding : {EBinding::Early, EBinding::Late}) {
        EXPECT_TRUE(Found({}, binding) == expected);
    }
    const auto task = Loaded();
    ASSERT_EQ(Find(task.Get(), {.pattern = u"late"}).hr, S_OK);
    SearchResult result{};
    EXPECT_EQ(task->GetResult(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(task->Find(nullptr), E_INVALIDARG);
    EXPECT_EQ(support::TakeError().description, u"");
    for (const INT index : {-1, 1}) {
        EXPECT_EQ(task->GetResult(index, &result), E_INVALIDARG);
        const auto error = support::TakeError();
        EXPECT_EQ(error.description,
                  u"Index is out of bounds in CBinDataSearcher::GetResultRecord");
        EXPECT_TRUE(error.guid == IID_IOibTDFSearchTask);
    }
    EXPECT_EQ(m_lib->FindInOibBDF(Bstr(m_folder.Path()).Get(), nullptr), S_OK);
}

TEST_F(BinarySearch, LoadsWhatTheSummaryNames) {
    CComPtr<IOibBDFSearchTask> task;
    const std::u16string context = u"Instance of the CCoOibBDFSearchTask() cannot be initialized.";
    auto call = Load(task);
    EXPECT_TRUE(FAILED(call.hr));
    EXPECT_TRUE(call.error.description.starts_with(context + u"\r\n"));
    Write(u"summary.txt", "Volume.C=none.dat");
    call = Load(task);
    EXPECT_EQ(call.hr, static_cast<HRESULT>(0x80070002));
    EXPECT_TRUE(call.error.description.starts_with(
        context + u"\r\nCannot open file CBuffFileReader::Open\r\n"));
    // Empty values name no file; subtrees come in the order of their first lines.
    SetVolumes({SampleVolume(), SampleVolume(), SampleVolume()});
    Write(u"summary.txt", "z.Q=\r\nVolume.E=E.dat\r\nkey=D.dat\r\nz.F.x=C.dat\r\nVolume.D=D.dat");
    std::u16string letters;
    for (const FoundFile& file : Found({.pattern = u"annual"})) {
        letters += file.name[0];
    }
    EXPECT_EQ(letters, u"kDEF");
    Write(u"summary.txt", "");
    EXPECT_TRUE(Found({}).empty());
}

// The work for a pattern of repeated tokens has a bound.
TEST_F(BinarySearch, ManyTokensInLongNames) {
    Volume volume = SampleVolume();
    volume.files.assign(100, {std::u16string(30'000, u'a'), 0, 0, 0, 0});
    SetVolumes({volume});
    std::u16string pattern;
    for (int i = 0; i < 5000; ++i) {
        pattern += i % 2 == 0 ? u"*a" : u"*aa";
    }
    const std::clock_t start = std::clock();
    EXPECT_TRUE(Found({.pattern = pattern + u"*b"}).empty());
    EXPECT_EQ(Found({.pattern = pattern}).size(), 100U);
    EXPECT_LT(std::clock() - start, 5 * CLOCKS_PER_SEC);
}

// Several units beyond ASCII share one packed byte. Unpaired surrogates are names, too.
TEST_F(BinarySearch, DistinguishesAllCodeUnits) {
    Volume volume;
    volume.dirs = {{u"", 0}};
    for (char32_t unit = 0x80; unit <= 0xFFFF; ++unit) {
        volume.files.push_back({u"a" + std::u16string(1, static_cast<char16_t>(unit)), 0, 0, 0, 0});
    }
    SetVolumes({volume});
    for (const char16_t unit : {u'\x80', u'\u00C9', u'\u0416', u'\xD800', u'\xDFFF', u'\xFFFF'}) {
        for (const std::u16string before : {u"", u"a*", u"?"}) {
            const Criteria criteria{.pattern = before + unit, .size = {{0, kMax}}};
            EXPECT_TRUE(Found(criteria) == std::vector<FoundFile>({{std::u16string(u"C:\\a") + unit,
                                                                    -109205.0, 0, u""}}));
        }
    }
}

// The Files table comes last: a search finds the files before the end, then fails.
TEST_F(BinarySearch, FindsTheFilesBeforeTheDamage) {
    SetVolumes({support::RandomVolume(5, 4, 8, 3)});
    Volume& volume = m_volumes[0].second;
    const std::string sound = support::ChainTables(
        {DirsTable(volume.dirs), OwnersTable(volume.owners), FilesTable(volume.files)});
    std::size_t end = sound.size();  // of the last complete record
    for (std::size_t length = sound.size(); length-- > 0;) {
        SCOPED_TRACE(length);
        if (length < end && !volume.files.empty()) {
            end -= 32 + 2 * volume.files.back().name.size();
            volume.files.pop_back();
        }
        Write(u"C.dat", sound.substr(0, length));
        for (const Criteria& criteria : {Criteria{}, Criteria{.pattern = u"report"}}) {
            const auto task = Loaded();
            EXPECT_EQ(Find(task.Get(), criteria).error.description,
                      u"The specified size is out of the buffer boundary.");
            EXPECT_TRUE(support::ReadResults(EBinding::Early, task.Get()) ==
                        support::ModelBinSearch(m_volumes, criteria).files);
        }
    }
    volume = SampleVolume();
    volume.files[1].dir = 5;
    const std::string cut = support::ChainTables(
        {DirsTable(volume.dirs), OwnersTable(volume.owners), FilesTable(volume.files)});
    Write(u"C.dat", cut.substr(0, cut.size() - 1));
    EXPECT_TRUE(Message().starts_with(u"The file record 1 of the volume Volume.C lies in"));
}

TEST_F(BinarySearch, ReportsInvalidFolders) {
    Volume volume = SampleVolume();
    for (const std::int64_t dir : {kMin, std::int64_t{-1}, std::int64_t{5}, kMax}) {
        volume.files[1].dir = dir;
        SetVolumes({volume});
        Check({{.pattern = u"report"}, {.pattern = u""}, {.pattern = u"annual"}});
    }
    EXPECT_EQ(Message(),
              u"The file record 1 of the volume Volume.C lies in the folder 9223372036854775807, "
              u"which the volume does not have.");
    // A chain of folders as long as the table, then a circle.
    volume.dirs.assign(700, {u"d", 0});
    volume.files.clear();
    for (std::int64_t i = 1; i < 700; ++i) {
        volume.dirs[static_cast<std::size_t>(i)].parent = i - 1;
        volume.files.push_back({u"f", i, 0, 0, 0});
    }
    SetVolumes({volume});
    Check({{}});
    volume.dirs[1].parent = 699;
    SetVolumes({volume});
    Check({{}, {.root = u"c:\\d"}});
    EXPECT_EQ(Message(),
              u"The file record 0 of the volume Volume.C lies in the folder 1, whose "
              u"parents do not lead to the root folder.");
    volume.dirs.clear();
    SetVolumes({volume});
    Check({{.pattern = u"f"}, {.root = u"c:"}});
}

}  // namespace
