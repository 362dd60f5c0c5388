// The search of binary data through the library object, against rows and against a slow
// plain model.
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "platform/times.h"
#include "support/index_file_builder.h"
#include "support/search_client.h"
#include "tdf/binary_search/tick_limits.h"
#include "text/ascii_case.h"

namespace {

using automation::CComPtr;
using support::Bstr;
using support::Criteria;
using support::EBinding;
using support::FoundFile;
using support::Volume;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kTicksPerDay = 864'000'000'000;

class BinarySearch : public support::SearchTest {
protected:
    // Volumes "Volume.C", "Volume.D" … in the order in which the summary lists them.
    void SetVolumes(const std::vector<std::string>& contents) {
        std::u16string summary = u"\uFEFF";
        m_volumes.clear();
        for (const std::string& bytes : contents) {
            const auto letter = static_cast<char16_t>(u'C' + m_volumes.size());
            const std::u16string key = std::u16string(u"Volume.") + letter;
            const std::u16string name = letter + std::u16string(u".dat");
            summary += key + u"=" + name + u"\r\n";
            m_volumes.emplace_back(key, Write(name, bytes));
        }
        WriteSummary(summary);
    }
    // A meta-file has no line end behind its last line.
    void WriteSummary(std::u16string text) {
        text.resize(text.ends_with(u"\r\n") ? text.size() - 2 : text.size());
        Write(u"summary.txt", {reinterpret_cast<const char*>(text.data()), 2 * text.size()});
    }

    support::CallResult Load(CComPtr<IOibBDFSearchTask>& task, std::u16string_view folder = u"") {
        return support::Call<&IOibIdxLib::FindInOibBDF>(
            EBinding::Early, m_lib.Get(),
            Bstr(folder.empty() ? m_folder.Path() : m_folder.Path(folder)).Get(), task.Put());
    }

    static support::CallResult Find(IOibBDFSearchTask* task, const Criteria& criteria) {
        return support::Call<&IOibBDFSearchTask::Find>(EBinding::Early, task,
                                                       support::CSpec(criteria).Get());
    }

    // One task, one Find after the other: what each adds, and how each fails.
    void Check(const std::vector<Criteria>& finds) {
        CComPtr<IOibBDFSearchTask> task;
        const auto loaded = Load(task);
        ASSERT_EQ(loaded.hr, S_OK) << support::Narrow(loaded.error.description);
        Criteria criteria;
        std::vector<FoundFile> expected;
        for (const Criteria& find : finds) {
            criteria.Merge(find);
            const auto outcome = support::ModelBinSearch(m_volumes, criteria);
            expected.insert(expected.end(), outcome.files.begin(), outcome.files.end());
            support::ExpectFailure(Find(task.Get(), find), outcome);
        }
        EXPECT_TRUE(support::ReadResults(EBinding::Early, task.Get()) ==
                    support::AsResults(expected));
    }

    support::VolumeFiles m_volumes;
};

// The names of the found files behind their last backslash.
std::vector<std::u16string> NamesOf(const std::vector<FoundFile>& files) {
    std::vector<std::u16string> names;
    for (const FoundFile& file : files) {
        names.push_back(file.name.substr(file.name.rfind(u'\\') + 1));
    }
    return names;
}

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
                    {u"a.TXT", 3, 1, kTime, kMost},
                    {u"b.txt/", 0, 7, kTime, kLeast},
                    {u"", 4, 4, kTime, 5},
                    {u"late\\", 4, 3, kTime - 3650 * kTicksPerDay, 6}};
    return volume;
}

constexpr double kTime = 41289.37855324074;

TEST_F(BinarySearch, FindsWhatTheCriteriaName) {
    SetVolumes({SampleVolume().Bytes()});
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    constexpr double kEnd = std::numeric_limits<double>::infinity();
    using Names = std::vector<std::u16string>;
    const Names all = {u"annual_report.doc", u"Report.txt", u"a.TXT", u"b.txt", u"", u"late"};
    const struct {
        const char* label;
        Criteria criteria;
        Names names;
    } rows[] = {
        {"everything", {}, all},
        {"contained", {.pattern = u"REPORT"}, {u"annual_report.doc", u"Report.txt"}},
        {"prefix", {.pattern = u"report", .serverRule = true}, {u"Report.txt"}},
        {"star", {.pattern = u"*.t?t", .serverRule = true}, {u"Report.txt", u"a.TXT", u"b.txt"}},
        {"stars only", {.pattern = u"**"}, all},
        {"any two", {.pattern = u"??????????????"}, {u"annual_report.doc"}},
        {"from its start, then anywhere", {.pattern = u"annual*doc"}, {u"annual_report.doc"}},
        {"not from its middle, whatever follows", {.pattern = u"report*doc"}, {}},
        {"nor when what follows is rarer", {.pattern = u"l*doc"}, {}},
        {"two tokens", {.pattern = u"*a*t"}, {u"annual_report.doc", u"a.TXT", u"late"}},
        {"domain\\name", {.owner = u"corp\\jsmith"}, {u"annual_report.doc"}},
        {"name@domain", {.owner = u"JSMITH@Corp"}, {u"annual_report.doc"}},
        {"domain.name", {.owner = u"corp.jsmith"}, {u"annual_report.doc"}},
        {"first of a name", {.owner = u"jsmith"}, {u"annual_report.doc"}},
        {"empty domain", {.owner = u"\\jsmith"}, {u"late"}},
        {"dotted name", {.owner = u"a.b"}, {}},
        {"dotted name with its domain", {.owner = u"x\\a.b"}, {u""}},
        {"neither domain nor name", {.owner = u"\\"}, {}},
        {"unknown owner", {.owner = u"unkn0"}, {}},
        {"id", {.owner = u"s-2"}, {}},
        {"volume", {.root = u"c:"}, all},
        {"any volume",
         {.root = u"D:\\users\\"},
         {u"annual_report.doc", u"Report.txt", u"", u"late"}},
        {"below", {.root = u"c:\\\\users\\john\\USERS"}, {u"", u"late"}},
        {"missing", {.root = u"c:\\users\\jane"}, {}},
        {"slash is no separator", {.root = u"c:/users"}, all},
        {"backslashes only", {.root = u"\\\\"}, {}},
        {"extensions", {.extensions = u"TXT; doc"}, {u"annual_report.doc", u"Report.txt"}},
        {"time", {.time = {{kTime, kTime}}}, {u"annual_report.doc", u"a.TXT", u"b.txt", u""}},
        {"time turned round", {.time = {{kTime + 1, kTime}}}, {}},
        {"no number", {.time = {{kNone, kNone}}}, all},
        {"no number and an end", {.time = {{kNone, kTime - 1}}}, {u"late"}},
        {"infinite", {.time = {{-kEnd, kEnd}}}, all},
        {"never", {.time = {{kEnd, kEnd}}}, {}},
        {"empty", {.size = {{0, 0}}}, {u"Report.txt"}},
        {"largest", {.size = {{kMost, kMost}}}, {u"a.TXT"}},
        {"least", {.size = {{kLeast, kLeast}}}, {u"b.txt"}},
        {"size turned round", {.size = {{1, 0}}}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        CComPtr<IOibBDFSearchTask> task;
        ASSERT_EQ(Load(task).hr, S_OK);
        ASSERT_EQ(Find(task.Get(), row.criteria).hr, S_OK);
        const auto found = support::ReadResults(EBinding::Late, task.Get());
        EXPECT_EQ(NamesOf(found), row.names);
        EXPECT_TRUE(found == support::ReadResults(EBinding::Early, task.Get()));
        Check({row.criteria, {}, row.criteria});
    }
}

TEST_F(BinarySearch, ShowsPathTimeSizeAndOwner) {
    SetVolumes({SampleVolume().Bytes(), SampleVolume().Bytes()});
    CComPtr<IOibBDFSearchTask> task;
    ASSERT_EQ(Load(task).hr, S_OK);
    EXPECT_EQ(Find(task.Get(), {}).hr, S_OK);
    const auto found = support::ReadResults(EBinding::Early, task.Get());
    ASSERT_EQ(found.size(), 12U);
    const FoundFile expected[] = {
        {u"", u"C:\\Users\\John\\annual_report.doc", kTime, 1, u"CORP\\JSmith"},
        {u"", u"C:\\Users\\Report.txt", kTime + 1, 0, u"unkn0"},
        {u"", u"C:\\Users2\\a.TXT", kTime, kMost, u"unkn1"},
        {u"", u"C:\\b.txt", kTime, kLeast, u""},
        {u"", u"C:\\Users\\John\\users\\", kTime, 5, u"X\\a.b"},
        {u"", u"C:\\Users\\John\\users\\late", kTime - 3650, 6, u"jsmith"},
        {u"", u"D:\\Users\\John\\annual_report.doc", kTime, 1, u"CORP\\JSmith"},
    };
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_TRUE(found[i] == expected[i]) << support::Narrow(found[i].name);
    }
    SearchResult result{};
    EXPECT_EQ(task->GetResult(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(task->Find(nullptr), E_INVALIDARG);
    EXPECT_EQ(support::TakeError().description, u"");
    for (const INT index : {-1, 12}) {
        const auto call = support::Call<&IOibTDFSearchTask::GetResult>(
            EBinding::Early, static_cast<IOibTDFSearchTask*>(task.Get()), index, &result);
        EXPECT_EQ(call.hr, E_INVALIDARG);
        EXPECT_EQ(call.error.description,
                  u"Index is out of bounds in CBinDataSearcher::GetResultRecord");
        EXPECT_TRUE(call.error.guid == IID_IOibTDFSearchTask);
    }
    EXPECT_EQ(m_lib->FindInOibBDF(Bstr(m_folder.Path()).Get(), nullptr), S_OK);
}

TEST_F(BinarySearch, LoadsWhatTheSummaryNames) {
    CComPtr<IOibBDFSearchTask> task;
    const std::u16string context = u"Instance of the CCoOibBDFSearchTask() cannot be initialized.";
    auto call = Load(task, u"missing");
    EXPECT_TRUE(FAILED(call.hr));
    EXPECT_TRUE(call.error.description.starts_with(context + u"\r\n"));
    WriteSummary(u"\uFEFFVolume.C=none.dat\r\n");
    call = Load(task);
    EXPECT_EQ(call.hr, static_cast<HRESULT>(0x80070002));
    EXPECT_TRUE(call.error.description.starts_with(
        context + u"\r\nCannot open file CBuffFileReader::Open\r\n"));
    // Values that are empty name no file; nodes come in the order of their creation.
    const std::string bytes = SampleVolume().Bytes();
    SetVolumes({bytes, bytes, bytes});
    WriteSummary(u"\uFEFFz.Q=\r\nVolume.E=E.dat\r\nkey=D.dat\r\nz.F.x=C.dat\r\nVolume.D=D.dat\r\n");
    ASSERT_EQ(Load(task).hr, S_OK);
    ASSERT_EQ(Find(task.Get(), {.pattern = u"annual"}).hr, S_OK);
    std::u16string letters;
    for (const FoundFile& file : support::ReadResults(EBinding::Early, task.Get())) {
        letters += file.name[0];
    }
    EXPECT_EQ(letters, u"kDEF");
    WriteSummary(u"\uFEFF");
    ASSERT_EQ(Load(task).hr, S_OK);
    EXPECT_EQ(Find(task.Get(), {}).hr, S_OK);
}

// Many units beyond ASCII are told apart only where the names lie; surrogates without their
// other halves are among them.
TEST_F(BinarySearch, TellsEveryUnitFromTheOthers) {
    Volume volume;
    volume.dirs = {{u"", 0}};
    for (char32_t unit = 0x80; unit <= 0xFFFF; ++unit) {
        volume.files.push_back({u"a" + std::u16string(1, static_cast<char16_t>(unit)), 0, 0, 0,
                                static_cast<std::int64_t>(unit)});
    }
    SetVolumes({volume.Bytes()});
    for (const char16_t unit : {u'\x80', u'\u00C9', u'\u0416', u'\xD800', u'\xDFFF', u'\xFFFF'}) {
        for (const Criteria& criteria :
             {Criteria{.pattern = std::u16string(1, unit)},
              Criteria{.pattern = u"a*" + std::u16string(1, unit)},
              Criteria{.pattern = u"?" + std::u16string(1, unit), .size = {{0, kMost}}}}) {
            SCOPED_TRACE(support::Narrow(*criteria.pattern));
            CComPtr<IOibBDFSearchTask> task;
            ASSERT_EQ(Load(task).hr, S_OK);
            ASSERT_EQ(Find(task.Get(), criteria).hr, S_OK);
            ASSERT_EQ(Find(task.Get(), {}).hr, S_OK);
            const auto found = support::ReadResults(EBinding::Early, task.Get());
            ASSERT_EQ(found.size(), 2U);
            for (const FoundFile& file : found) {
                EXPECT_TRUE(file.name == std::u16string(u"C:\\a") + unit && file.size == unit);
            }
        }
    }
}

TEST_F(BinarySearch, OneTaskGathersCriteriaAndResults) {
    SetVolumes({SampleVolume().Bytes()});
    Check({{.pattern = u"report", .owner = u"jsmith"}, {.pattern = u""}, {.owner = u""}});
    Check({{.time = {{kTime, kTime}}, .size = {{0, 5}}}, {}, {.size = {{kLeast, kMost}}}});
    Check({{.pattern = u"report", .serverRule = true},
           {.root = u"c:\\users"},
           {.extensions = u"txt"}});
}

// A volume whose numbers are anything at all.
Volume HostileVolume(std::mt19937& random, std::uint32_t seed) {
    const auto below = [&](std::size_t bound) {
        return static_cast<std::int64_t>(random() % bound);
    };
    const std::size_t dirs = 1 + random() % 12;
    Volume volume = support::RandomVolume(seed, dirs, random() % 40, random() % 5);
    const bool soundDirs = random() % 3 != 0;
    const bool soundFiles = random() % 2 != 0;
    for (std::size_t i = 0; i < dirs && !soundDirs; ++i) {
        if (random() % 4 == 0) {
            volume.dirs[i].parent = below(dirs + 3) - 1;
        }
        if (random() % 8 == 0) {
            volume.dirs[i].name = random() % 2 == 0 ? u"" : u"a\\";
        }
    }
    const std::int64_t times[] = {kMost,
                                  kLeast,
                                  -1,
                                  0,
                                  94'353'120'000'000'000,
                                  94'353'120'000'000'000 - below(1'000'000'000'000'000),
                                  2'650'467'744'000'000'000,
                                  2'650'467'743'999'999'999};
    const std::int64_t sizes[] = {kMost, kLeast, -1, 0};
    for (support::FileRow& file : volume.files) {
        if (random() % 6 == 0) {
            file.modifyTime = times[soundFiles ? 4 + random() % 2 : random() % 8];
            file.size = sizes[random() % 4];
        }
        if (random() % 10 == 0) {
            file.name = random() % 2 == 0 ? u"" : file.name + u"\\";
        }
        if (!soundFiles && random() % 20 == 0) {
            file.dir =
                random() % 2 == 0 ? below(dirs + 2) - 1 : (random() % 2 == 0 ? kMost : kLeast);
        }
    }
    return volume;
}

Criteria RandomCriteria(std::mt19937& random, const Volume& volume) {
    const auto oneOf = [&](auto... choices) {
        const std::u16string texts[] = {choices...};
        return texts[random() % sizeof...(choices)];
    };
    const auto sometimes = [&] { return random() % 3 == 0; };
    Criteria criteria;
    if (random() % 4 != 0) {
        criteria.pattern = oneOf(u"", u"*", u"report", u"*.TXT", u"r?port", u"*a*b", u"??", u"?",
                                 u"LOG", u"\u00E9", u"*\u0436*x1", u"index*.tar", u"data", u"*_*a",
                                 u"\u4E2D?", u"*o?t*.", u"b", u"g?", u"?report", u"x*t?");
    }
    if (sometimes()) {
        const auto& dir = volume.dirs[random() % volume.dirs.size()];
        criteria.root = oneOf(u"", u"c:", u"\\", u"c:\\", u"C:\\x1") +
                        oneOf(u"", u"\\" + dir.name, u"\\" + text::ToLowerAscii(dir.name) + u"\\");
    }
    if (sometimes() && !volume.owners.empty()) {
        const auto& owner = volume.owners[random() % volume.owners.size()];
        criteria.owner = oneOf(owner.name, owner.domain + u"\\" + owner.name, u"unkn0",
                               owner.name + u"@" + owner.domain, owner.domain + u"." + owner.name);
    }
    if (sometimes()) {
        criteria.extensions = oneOf(u"", u"txt", u"TXT;log", u".gz, txt", u".");
    }
    if (sometimes()) {
        const double ends[] = {-1e9,  -30000.5, -0.25,
                               0,     25569,    28000.75,
                               38000, 1e9,      std::numeric_limits<double>::quiet_NaN()};
        criteria.time = {ends[random() % 9], ends[random() % 9]};
    }
    if (sometimes()) {
        const std::int64_t ends[] = {kLeast, -1, 0, 500'000, kMost};
        criteria.size = {ends[random() % 5], ends[random() % 5]};
    }
    criteria.serverRule = random() % 4 == 0;
    return criteria;
}

TEST_F(BinarySearch, AgreesWithThePlainModelOnRandomVolumes) {
    std::mt19937 random(20130115);
    int failures[3] = {};
    for (std::uint32_t i = 0; i < 400; ++i) {
        SCOPED_TRACE(i);
        const Volume first = HostileVolume(random, i);
        const Volume second = HostileVolume(random, i + 1000);
        SetVolumes({first.Bytes(), second.Bytes()});
        Check({RandomCriteria(random, first), RandomCriteria(random, second),
               RandomCriteria(random, first)});
        const auto hr = support::ModelBinSearch(m_volumes, {.time = {{-1e9, 1e9}}}).hr;
        ++failures[hr == 0 ? 0 : hr == frame::kInvalidArg ? 1 : 2];
    }
    for (const int count : failures) {
        EXPECT_GT(count, 20);
    }
}

TEST_F(BinarySearch, AgreesWithThePlainModelOnALargerVolume) {
    std::mt19937 random(3);
    const Volume volume = support::RandomVolume(11, 200, 6000, 20);
    SetVolumes({volume.Bytes()});
    for (int i = 0; i < 60; ++i) {
        SCOPED_TRACE(i);
        Check({RandomCriteria(random, volume)});
    }
}

TEST_F(BinarySearch, AgreesWithThePlainModelOnDamagedFiles) {
    std::mt19937 random(7);
    Volume volume = support::RandomVolume(5, 4, 8, 3);
    const std::string sound = volume.Bytes();
    for (std::size_t length = 0; length <= sound.size(); ++length) {
        SCOPED_TRACE(length);
        SetVolumes({sound.substr(0, length), sound});
        Check({{.pattern = u"report"}, {.pattern = u""}});
    }
    for (int i = 0; i < 800; ++i) {
        SCOPED_TRACE(i);
        std::string bytes = sound;
        for (std::size_t flips = random() % 3 + 1; flips > 0; --flips) {
            bytes[random() % bytes.size()] ^= static_cast<char>(1U << random() % 8);
        }
        SetVolumes({bytes});
        Check({RandomCriteria(random, volume), {.root = u"", .pattern = u"", .owner = u""}});
    }
}

// Folder indexes at and beyond the ends of the table, met by name and by walking all files.
TEST_F(BinarySearch, TellsWhichFolderIsMissing) {
    for (const std::int64_t dir :
         {kLeast, std::int64_t{-1}, std::int64_t{5}, std::int64_t{6}, kMost}) {
        SCOPED_TRACE(dir);
        Volume volume = SampleVolume();
        volume.files.resize(2);
        volume.files[1].dir = dir;
        SetVolumes({volume.Bytes()});
        Check({{.pattern = u"report"}, {.pattern = u""}, {.pattern = u"annual"}});
        CComPtr<IOibBDFSearchTask> task;
        ASSERT_EQ(Load(task).hr, S_OK);
        const auto call = Find(task.Get(), {.pattern = u"report"});
        EXPECT_EQ(call.hr, E_INVALIDARG);
        EXPECT_EQ(call.error.description,
                  u"The file record 1 of the volume Volume.C lies in the folder " +
                      frame::Int64ToString(dir) + u", which the volume does not have.");
    }
    Volume rootless;
    rootless.files = {{u"a", 0, 0, 0, 0}};
    SetVolumes({rootless.Bytes()});
    Check({{.pattern = u"a"}, {.root = u"c:"}});
}

// A chain of folders as deep as the table is long, and one that runs in a circle.
TEST_F(BinarySearch, EndsInDeepAndCircularFolders) {
    Volume volume;
    volume.dirs.assign(700, {u"d", 0});
    for (std::size_t i = 1; i < volume.dirs.size(); ++i) {
        volume.dirs[i].parent = static_cast<std::int64_t>(i) - 1;
        volume.files.push_back({u"f", static_cast<std::int64_t>(i), 0, 0, 0});
    }
    SetVolumes({volume.Bytes()});
    Check({{}});
    volume.dirs[1].parent = 699;
    SetVolumes({volume.Bytes()});
    CComPtr<IOibBDFSearchTask> task;
    ASSERT_EQ(Load(task).hr, S_OK);
    EXPECT_EQ(Find(task.Get(), {}).error.description,
              u"The file record 0 of the volume Volume.C lies in the folder 1, whose parents do "
              u"not lead to the root folder.");
    Check({{}, {.root = u"c:\\d"}});
}

TEST(TickLimits, AgreeWithTheDates) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 20'000; ++i) {
        const auto ticks = static_cast<std::int64_t>(random() % 2'650'467'744'000'000'000);
        double date = 0;
        ASSERT_TRUE(platform::FileTimeToDate(
            ticks + static_cast<std::int64_t>(random() % 30'000'000) - 15'000'000, date));
        const tdf::TimeLimits limits =
            i % 2 == 0 ? tdf::TimeLimits{date, 1e9} : tdf::TimeLimits{-1e9, date};
        ASSERT_EQ(tdf::CTickLimits(limits).Rejects(ticks), limits.Rejects(tdf::DateOfTicks(ticks)))
            << ticks << " " << date;
    }
}

}  // namespace
