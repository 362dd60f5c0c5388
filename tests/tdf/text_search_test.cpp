// The search of text data files through the library object, against rows and against a
// slow plain model.
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "frame/automation_conversions.h"
#include "support/search_client.h"

namespace {

using namespace std::string_literals;
using automation::CComPtr;
using support::Bstr;
using support::Criteria;
using support::EBinding;
using support::FoundFile;
using Lines = std::vector<std::u16string>;

std::string Utf16(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

std::string TextFile(const Lines& lines) {
    std::u16string text = u"\uFEFF";
    for (const std::u16string& line : lines) {
        text += line + u"\r\n";
    }
    return Utf16(text);
}

class TextSearch : public support::SearchTest {
protected:
    support::CallResult Lines2(EBinding binding, const std::u16string& file,
                               const Criteria& criteria, Lines& lines) {
        SAFEARRAY* raw = nullptr;
        const auto call = support::Call<&IOibIdxLib::FindInOibTDF>(
            binding, m_lib.Get(), Bstr(file).Get(), Bstr(criteria.root.value_or(u"")).Get(),
            Bstr(criteria.pattern.value_or(u"")).Get(), &raw);
        const automation::CSafeArrayPtr array(raw);
        if (call.hr == S_OK) {
            lines = frame::SafeArrayToStringList(array.Get());
        }
        return call;
    }

    support::CallResult Task(const std::u16string& file, const Criteria& criteria,
                             CComPtr<IOibTDFSearchTask>& task) {
        return support::Call<&IOibIdxLib::FindInOibTDF2>(
            EBinding::Early, m_lib.Get(), Bstr(file).Get(), support::CSpec(criteria).Get(),
            task.Put());
    }

    // Both methods against the model.
    void Check(const std::u16string& file, const Criteria& criteria) {
        const auto expected = support::ModelTextSearch(file, criteria);
        CComPtr<IOibTDFSearchTask> task;
        const auto call = Task(file, criteria, task);
        support::ExpectFailure(call, expected);
        if (task) {
            EXPECT_TRUE(support::ReadResults(EBinding::Early, task.Get()) ==
                        support::AsResults(expected.files));
        }
        Criteria plain = criteria;
        plain.time.reset();
        plain.size.reset();
        const auto plainly = support::ModelTextSearch(file, plain);
        Lines lines;
        support::ExpectFailure(Lines2(EBinding::Early, file, plain, lines), plainly);
        for (std::size_t i = 0; plainly.hr == 0 && i < plainly.files.size(); ++i) {
            ASSERT_EQ(lines.size(), plainly.files.size());
            // The list's strings are read up to their first NUL.
            const std::u16string& line = plainly.files[i].line;
            ASSERT_TRUE(lines[i] == line.substr(0, line.find(u'\0'))) << i;
        }
    }
};

const Lines kLines = {
    u"01/15/2013 09:05:07, 1234, C:\\Users\\john\\readme.txt",
    u"01/15/2013 09:05:08, 0, C:\\Users2\\README.txt.bak",
    u"12/31/1999 23:59:59, abc, C:\\Users\\a.txt",
    u"02/29/2012 00:00:00, -7,  c:\\users\\b, c.doc",
    u"06/01/2013 12:00:00, 9223372036854775807, C:\\\u00C9.TXT",
};
constexpr double kFirstTime = 41289.37855324074;

TEST_F(TextSearch, FindsWhatTheCriteriaName) {
    const std::u16string file = Write(u"t.txt", TextFile(kLines));
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    constexpr double kEnd = std::numeric_limits<double>::infinity();
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    const struct {
        const char* label;
        Criteria criteria;
        std::vector<std::size_t> found;
    } rows[] = {
        {"everything", {}, {0, 1, 2, 3, 4}},
        {"name", {.pattern = u"*.txt"}, {0, 1, 2, 4}},
        {"name from its start", {.pattern = u"readme"}, {0, 1}},
        {"not from its middle", {.pattern = u"eadme"}, {}},
        {"from its start, then anywhere", {.pattern = u"r*txt"}, {0, 1}},
        {"not from its middle, whatever follows", {.pattern = u"e*txt"}, {}},
        {"letters beyond ASCII are exact", {.pattern = u"\u00E9"}, {}},
        {"folder", {.root = u"c:\\USERS\\"}, {0, 2, 3}},
        {"folder without an end", {.root = u"C:\\Users"}, {0, 1, 2, 3}},
        {"root longer than any folder", {.root = u"C:\\Users\\john\\readme"}, {}},
        {"times", {.time = {{kFirstTime, kFirstTime}}}, {0}},
        {"time range turned round", {.time = {{kFirstTime + 1, kFirstTime}}}, {}},
        {"ends that are no numbers", {.time = {{kNone, kNone}}}, {0, 1, 2, 3, 4}},
        {"infinite ends", {.time = {{-kEnd, kEnd}}}, {0, 1, 2, 3, 4}},
        {"empty files", {.size = {{0, 0}}}, {1, 2}},
        {"negative size", {.size = {{-kMost, -1}}}, {3}},
        {"largest size", {.size = {{kMost, kMost}}}, {4}},
        {"owner, rule and extensions say nothing",
         {.owner = u"x", .extensions = u"doc", .serverRule = true},
         {0, 1, 2, 3, 4}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        CComPtr<IOibTDFSearchTask> task;
        ASSERT_EQ(Task(file, row.criteria, task).hr, S_OK);
        const auto all = support::ModelTextSearch(file, {}).files;
        ASSERT_EQ(all.size(), kLines.size());
        std::vector<FoundFile> expected;
        for (const std::size_t i : row.found) {
            expected.push_back(all[i]);
        }
        for (const EBinding binding : {EBinding::Early, EBinding::Late}) {
            EXPECT_TRUE(support::ReadResults(binding, task.Get()) == support::AsResults(expected));
        }
        Check(file, row.criteria);
    }
}

TEST_F(TextSearch, TakesNumbersAndNamesAtTheirEnds) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    constexpr double kFirstDay = -657434;
    constexpr double kLastSecond = 2958465 + 86399. / 86400;
    const struct {
        std::u16string moment, sizeText, path;
        double time;
        std::int64_t size;
    } rows[] = {
        {u"01/01/0100 00:00:00", u"-9223372036854775808", u"C:\\a", kFirstDay, kLeast},
        {u"12/31/9999 23:59:59", u"9223372036854775807", u"C:\\a", kLastSecond, kMost},
        {u"01/01/0100 00:00:00", u"-9223372036854775809", u"C:\\a", kFirstDay, kLeast},
        {u"12/31/9999 23:59:59", u"99999999999999999999", u"C:\\a", kLastSecond, kMost},
        {u"01/15/2013 09:05:07", u"", u"C:\\a", kFirstTime, 0},
        {u"01/15/2013 09:05:07", u" +7x", u"C:\\\xD800\\\xDC00_a", kFirstTime, 7},
    };
    for (const auto& row : rows) {
        const std::u16string line = row.moment + u", " + row.sizeText + u", " + row.path;
        SCOPED_TRACE(support::Narrow(line));
        const std::u16string file = Write(u"t.txt", TextFile({line}));
        const FoundFile expected{u"", row.path, row.time, row.size, u""};
        CComPtr<IOibTDFSearchTask> task;
        for (const std::u16string pattern : {u"", u"*a", u"\xDC00"}) {
            Check(file, {.pattern = pattern,
                         .time = {{row.time, row.time}},
                         .size = {{row.size, row.size}}});
        }
        ASSERT_EQ(Task(file, {}, task).hr, S_OK);
        EXPECT_TRUE(support::ReadResults(EBinding::Early, task.Get()) == std::vector{expected});
    }
}

TEST_F(TextSearch, HandsOutLinesAndRecords) {
    const std::u16string file = Write(u"t.txt", TextFile(kLines));
    for (const EBinding binding : {EBinding::Early, EBinding::Late}) {
        Lines lines;
        EXPECT_EQ(Lines2(binding, file, {}, lines).hr, S_OK);
        EXPECT_EQ(lines, kLines);
        EXPECT_EQ(Lines2(binding, file, {.pattern = u"nobody"}, lines).hr, S_OK);
        EXPECT_EQ(lines, Lines());
    }
    CComPtr<IOibTDFSearchTask> task;
    ASSERT_EQ(Task(file, {}, task).hr, S_OK);
    SearchResult result{};
    const auto old = Bstr(u"what the record held is not freed");
    result.FileFullName = result.Owner = old.Get();
    ASSERT_EQ(task->GetResult(0, &result), S_OK);
    EXPECT_EQ(automation::TextOf(automation::CBstr(result.FileFullName).Get()),
              u"C:\\Users\\john\\readme.txt");
    EXPECT_EQ(result.ModifyTime, kFirstTime);
    EXPECT_EQ(result.Size, 1234);
    EXPECT_EQ(result.Owner, nullptr);
    EXPECT_EQ(task->GetResult(0, nullptr), E_INVALIDARG);
    EXPECT_EQ(support::TakeError().description, u"");
    for (const INT index : {-1, 5}) {
        const auto call = support::Call<&IOibTDFSearchTask::GetResult>(EBinding::Early, task.Get(),
                                                                       index, &result);
        EXPECT_EQ(call.hr, E_INVALIDARG);
        EXPECT_EQ(call.error.description,
                  u"Index is out of bounds in CTextDataSearcher::GetResultRecord");
        EXPECT_TRUE(call.error.guid == IID_IOibTDFSearchTask);
    }
    EXPECT_EQ(m_lib->FindInOibTDF2(Bstr(file).Get(), support::CSpec({}).Get(), nullptr), S_OK);
}

TEST_F(TextSearch, ReportsLinesThatDoNotParse) {
    const struct {
        const char* label;
        std::u16string line, message;
    } rows[] = {
        {"no month", u"xx/15/2013 09:05:07, 1, C:\\a",
         u"Cannot unserialize a string value to integer. String: [xx]."},
        {"short", u"01\\C", u"Cannot unserialize a string value to integer. String: [C]."},
        {"month 13", u"13/15/2013 09:05:07, 1, C:\\a",
         u"Cannot convert system time to variant time while parsing string: [%1]."},
        {"hour 24", u"01/15/2013 24:05:07, 1, C:\\a",
         u"Cannot convert system time to variant time while parsing string: [%1]."},
        {"year 99", u"01/15/0099 09:05:07, 1, C:\\a",
         u"Cannot convert system time to variant time while parsing string: [%1]."},
        {"negative year", u"01/15/-013 09:05:07, 1, C:\\a",
         u"Cannot convert system time to variant time while parsing string: [%1]."},
        {"no comma", u"01/15/2013 09:05:07, 1 C:\\a",
         u"Cannot find file size while parsing string: [%1]."},
        {"nothing behind the size", u"01/15/2013 09:05:07,\\1,x",
         u"Cannot find file name while parsing string: [%1]."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        const std::u16string file = Write(u"t.txt", TextFile({kLines[0], row.line}));
        CComPtr<IOibTDFSearchTask> task;
        // The line's name fits nothing, and still it ends the search.
        const auto call = Task(file, {.pattern = u"*.nothing"}, task);
        EXPECT_EQ(call.hr, E_FAIL);
        const std::u16string message = frame::FormatText(row.message, {row.line});
        EXPECT_EQ(
            support::Narrow(call.error.description),
            support::Narrow(u"Instance of the CCoOibTDFSearchTask() cannot be initialized.\r\n" +
                            message));
        // A root that the line is not below lets it pass.
        EXPECT_EQ(Task(file, {.root = u"c:\\users"}, task).hr, S_OK);
        Check(file, {});
    }
    for (const std::u16string line : {u"", u"a.txt", u":\\a", u"\\a", u"1h0A2B readme"}) {
        const std::u16string file = Write(u"t.txt", TextFile({kLines[0], line, kLines[1]}));
        const auto expected = support::ModelTextSearch(file, {.root = u"q:\\"});
        EXPECT_EQ(expected.clues.back(), u" line 2 ");
        Check(file, {.root = u"q:\\"});
        Check(file, {.pattern = u"*.nothing"});
    }
    Check(m_folder.Path(u"missing.txt"), {});
}

// Lines of every kind that the plain reader knows: units dropped inside and at the end, a
// last line without end, half a unit, lines longer than any buffer.
TEST_F(TextSearch, ReadsLinesAsThePlainReaderDoes) {
    const std::u16string line = kLines[0];
    std::u16string stray = line;
    stray.insert(3, u"\r\uFEFF");
    std::u16string nearEnd = line;
    nearEnd.insert(line.size() - 1, u"\r");
    const std::u16string longName(400'000, u'x');
    const std::u16string rows[] = {
        u"",
        u"\uFEFF",
        u"\n",
        line,
        line + u"\n",
        line + u"\r",
        line + u"\r\r\n" + line,
        stray + u"\r\n" + stray,
        nearEnd + u"\r\n" + nearEnd + u"\n",
        line + u"\uFEFF\n",
        u"\r\n" + line,
        u"\uFEFF\uFEFF\r\n",
        line + longName + u"\r\n" + line + u"\n" + line + longName,
        longName + u"\n" + line,
        line + u"\n\u0A0A\u5C5C\u0A00\n",
    };
    for (const std::u16string& row : rows) {
        for (const std::string& tail : {""s, "\n"s, "x"s, "\0"s}) {
            SCOPED_TRACE(support::Narrow(row.substr(0, 80)) + " + " + std::to_string(tail.size()));
            Check(Write(u"t.txt", Utf16(row) + tail), {.pattern = u"*readme"});
        }
    }
}

class RandomText {
public:
    explicit RandomText(std::uint32_t seed) : m_random(seed) {}

    std::size_t Below(std::size_t bound) { return m_random() % bound; }

    std::u16string Line() {
        const auto number = [&](std::size_t bound, std::size_t digits) {
            std::u16string text = frame::UInt64ToString(Below(bound));
            return text.insert(0, digits - std::min(digits, text.size()), u'0');
        };
        std::u16string line = number(12 + Bad(2), 2) + u"/" + number(29 + Bad(9), 2) + u"/" +
                              number(9 + Bad(2), 1) + number(1000, 3) + u" " +
                              number(24 + Bad(2), 2) + u":" + number(60, 2) + u":" +
                              number(60 + Bad(2), 2) + (Bad(1) == 0 ? u", " : u"-+") +
                              number(Below(2) == 0 ? 50 : 1'000'000'000'000, 1) +
                              (Bad(1) == 0 ? u", " : u" ") + (Bad(1) == 0 ? u"C:" : u"") + u"\\";
        for (std::size_t i = Below(4); i > 0; --i) {
            line += Name() + u"\\";
        }
        return line + Name() + (Bad(1) == 0 ? u"\r\n" : u"\r\uFEFF\n");
    }
    std::u16string Name() {
        static constexpr std::u16string_view kPieces[] = {
            u"Users", u"users2", u"report", u".TXT", u".txt", u"", u"\u00C9t\u00E9", u"a", u"B"};
        return std::u16string(kPieces[Below(std::size(kPieces))]) +
               std::u16string(kPieces[Below(std::size(kPieces))]);
    }
    Criteria Asked() {
        static const std::u16string kRoots[] = {u"", u"C:\\", u"c:\\USERS", u"c:\\users\\", u"d:"};
        static const std::u16string kPatterns[] = {u"",          u"*",       u"*.txt", u"report",
                                                   u"*R?port*t", u"users*a", u"\u00C9"};
        Criteria criteria{.root = kRoots[Below(5)], .pattern = kPatterns[Below(7)]};
        if (Below(3) == 0) {
            criteria.time = {static_cast<double>(Below(2'000'000)) - 600'000, 1e6};
        }
        if (Below(3) == 0) {
            criteria.size = {static_cast<std::int64_t>(Below(50)), 1'000'000'000};
        }
        return criteria;
    }

private:
    // Now and then something that spoils a line.
    std::size_t Bad(std::size_t by) { return Below(400) == 0 ? by : 0; }

    std::mt19937 m_random;
};

TEST_F(TextSearch, AgreesWithThePlainModelOnRandomFiles) {
    RandomText random(20130115);
    int failures = 0;
    for (int i = 0; i < 150; ++i) {
        std::u16string text = u"\uFEFF";
        for (std::size_t n = random.Below(60); n > 0; --n) {
            text += random.Line();
        }
        const std::u16string file = Write(u"t.txt", Utf16(text));
        for (int k = 0; k < 4; ++k) {
            SCOPED_TRACE(i * 4 + k);
            Check(file, random.Asked());
        }
        failures += support::ModelTextSearch(file, {}).hr != 0 ? 1 : 0;
    }
    EXPECT_TRUE(failures > 20 && failures < 130) << failures;
}

TEST_F(TextSearch, AgreesWithThePlainModelOnDamagedFiles) {
    RandomText random(7);
    std::u16string text = u"\uFEFF";
    for (int i = 0; i < 8; ++i) {
        text += random.Line();
    }
    const std::string sound = Utf16(text);
    for (std::size_t length = 0; length <= sound.size(); ++length) {
        SCOPED_TRACE(length);
        Check(Write(u"t.txt", sound.substr(0, length)), {.pattern = u"*e"});
    }
    for (int i = 0; i < 800; ++i) {
        SCOPED_TRACE(i);
        std::string bytes = sound;
        for (std::size_t flips = random.Below(3) + 1; flips > 0; --flips) {
            const auto bit = static_cast<char>(1U << random.Below(8));
            bytes[random.Below(bytes.size())] ^= bit;
        }
        Check(Write(u"t.txt", bytes), random.Asked());
    }
}

}  // namespace
