// The search of text data files, through the library object.
#include <gtest/gtest.h>

#include <limits>

#include "frame/automation_conversions.h"
#include "support/search_client.h"
#include "support/tdf_model.h"

namespace {

using namespace std::string_literals;
using automation::CComPtr;
using support::Bstr;
using support::Criteria;
using support::EBinding;
using support::Utf16Bytes;
using Lines = std::vector<std::u16string>;

class TextSearch : public support::SearchTest {
protected:
    std::u16string WriteLines(const Lines& lines) {
        std::u16string text = u"\uFEFF";
        for (const std::u16string& line : lines) {
            text += line + u"\r\n";
        }
        return Write(u"t.txt", Utf16Bytes(text));
    }
    support::CallResult FindLines(EBinding binding, const std::u16string& file,
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
    support::CallResult Find(const std::u16string& file, const Criteria& criteria,
                             CComPtr<IOibTDFSearchTask>& task) {
        return support::Call<&IOibIdxLib::FindInOibTDF2>(
            EBinding::Early, m_lib.Get(), Bstr(file).Get(), support::CSpec(criteria).Get(),
            task.Put());
    }
    // Compares both methods with the model.
    void Check(const std::u16string& file, Criteria criteria) {
        const auto expected = support::ModelTextSearch(file, criteria);
        CComPtr<IOibTDFSearchTask> task;
        support::ExpectFailure(Find(file, criteria, task), expected);
        if (task) {
            EXPECT_TRUE(support::ReadResults(EBinding::Early, task.Get()) == expected.files);
        }
        criteria.time.reset();
        criteria.size.reset();
        const auto unlimited = support::ModelTextSearch(file, criteria);
        Lines lines;
        support::ExpectFailure(FindLines(EBinding::Early, file, criteria, lines), unlimited);
        ASSERT_EQ(lines.size(), unlimited.hr == S_OK ? unlimited.lines.size() : 0);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            // The array's strings are read up to their first NUL.
            const std::u16string& line = unlimited.lines[i];
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

TEST_F(TextSearch, AgreesWithTheModelOnLimitsAndExtremes) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    Lines lines = kLines;
    for (const char16_t* line :
         {u"01/01/0100 00:00:00, -9223372036854775808, C:\\a",
          u"12/31/9999 23:59:59, 9223372036854775807, C:\\a",
          u"01/01/0100 00:00:00, -9223372036854775809, C:\\a",
          u"12/31/9999 23:59:59, 99999999999999999999, C:\\a",
          u"12/31/9999 23:59:59, 9223372036854775808, C:\\a", u"01/15/2013 09:05:07, , C:\\a",
          u"01/15/2013 09:05:07,  +7x, C:\\\xD800\\\xDC00_a", u"02/31/2013 09:05:07, 0, C:\\a",
          u"01/00/2013 09:05:07, 0, C:\\a", u"01/15/2013 09:05:07, 999999999999999999, C:\\a"}) {
        lines.emplace_back(line);
    }
    const std::u16string file = WriteLines(lines);
    for (const Criteria& criteria : {
             Criteria{.pattern = u"readme"},
             {.pattern = u"\u00E9"},
             {.pattern = u"\xDC00"},
             {.root = u"c:\\USERS\\"},
             {.root = u"C:\\Users"},
             {.root = u"C:\\Users\\john\\readme"},
             {.time = {{kFirstTime, kFirstTime}}},
             {.time = {{kNaN, kNaN}}},
             {.time = {{-kInfinity, kInfinity}}},
             {.size = {{0, 0}}},
             {.size = {{kMax, kMax}}},
             {.size = {{kMin, kMin}}},
             {.owner = u"x", .extensions = u"doc", .serverRule = true},
         }) {
        SCOPED_TRACE(
            frame::WideToAnsi(criteria.pattern.value_or(u"") + criteria.root.value_or(u"")));
        Check(file, criteria);
    }
}

TEST_F(TextSearch, ReturnsLinesAndRecords) {
    const std::u16string file = WriteLines(kLines);
    for (const EBinding binding : {EBinding::Early, EBinding::Late}) {
        Lines lines;
        EXPECT_EQ(FindLines(binding, file, {}, lines).hr, S_OK);
        EXPECT_EQ(lines, kLines);
        EXPECT_EQ(FindLines(binding, file, {.pattern = u"missing"}, lines).hr, S_OK);
        EXPECT_EQ(lines, Lines());
    }
    CComPtr<IOibTDFSearchTask> task;
    ASSERT_EQ(Find(file, {}, task).hr, S_OK);
    SearchResult result{};
    const auto old = Bstr(u"The record's strings are not freed.");
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
        EXPECT_EQ(task->GetResult(index, &result), E_INVALIDARG);
        const auto error = support::TakeError();
        EXPECT_EQ(error.description,
                  u"Index is out of bounds in CTextDataSearcher::GetResultRecord");
        EXPECT_TRUE(error.guid == IID_IOibTDFSearchTask);
    }
    EXPECT_EQ(m_lib->FindInOibTDF2(Bstr(file).Get(), support::CSpec({}).Get(), nullptr), S_OK);
}

// The model's failures contain the messages and the whole line.
TEST_F(TextSearch, ReportsInvalidLines) {
    for (const std::u16string line :
         {u"xx/15/2013 09:05:07, 1, C:\\a", u"01\\C", u"13/15/2013 09:05:07, 1, C:\\a",
          u"01/15/2013 24:05:07, 1, C:\\a", u"00/15/2013 09:05:07, 1, C:\\a",
          u"01/32/2013 09:05:07, 1, C:\\a", u"01/15/2013 09:60:07, 1, C:\\a",
          u"01/15/2013 09:05:60, 1, C:\\a", u"01/15/0099 09:05:07, 1, C:\\a",
          u"01/00/0100 09:05:07, 1, C:\\a", u"01/15/-013 09:05:07, 1, C:\\a",
          u"01/15/2013 09:05:07, 1 C:\\a", u"01/15/2013 09:05:07,\\1,x"}) {
        SCOPED_TRACE(frame::WideToAnsi(line));
        const std::u16string file = WriteLines({kLines[0], line});
        Check(file, {.pattern = u"*.nothing"});
        CComPtr<IOibTDFSearchTask> task;
        EXPECT_TRUE(
            Find(file, {}, task)
                .error.description.starts_with(
                    u"Instance of the CCoOibTDFSearchTask() cannot be initialized.\r\nCannot "));
        EXPECT_EQ(Find(file, {.root = u"c:\\users"}, task).hr, S_OK) << "not below the root";
    }
    for (const std::u16string line : {u"", u"a.txt", u":\\a", u"\\a", u"1h0A2B readme"}) {
        Check(WriteLines({kLines[0], line, kLines[1]}), {.root = u"q:\\"});
    }
    CComPtr<IOibTDFSearchTask> task;
    const auto call = Find(m_folder.Path(u"missing.txt"), {}, task);
    EXPECT_EQ(call.hr, static_cast<HRESULT>(0x80070002));
    EXPECT_NE(call.error.description.find(u"\r\nCannot open file CFileReader::Open\r\n"),
              std::u16string::npos);
}

// CR and byte-order marks inside lines and at their ends, a last line without LF, half a code
// unit, and lines longer than any buffer.
TEST_F(TextSearch, ReadsEveryFormOfLines) {
    const std::u16string line = kLines[0];
    std::u16string inside = line;
    inside.insert(3, u"\r\uFEFF");
    std::u16string nearEnd = line;
    nearEnd.insert(line.size() - 1, u"\r");
    const std::u16string longName(400'000, u'x');
    const std::u16string rows[] = {
        u"",
        u"\uFEFF",
        u"\n",
        line + u"\r",
        line + u"\r\r\n" + line,
        inside + u"\r\n" + inside,
        nearEnd + u"\r\n" + nearEnd + u"\n",
        line + u"\uFEFF\n",
        u"\r\n" + line,
        line + longName + u"\r\n" + line + u"\n" + line + longName,
        longName + u"\n" + line,
        line + u"\n\u0A0A\u5C5C\u0A00\n",
    };
    for (const std::u16string& row : rows) {
        for (const std::string& tail : {""s, "\n"s, "x"s, "\0"s}) {
            SCOPED_TRACE(frame::WideToAnsi(row.substr(0, 80)) + " + " +
                         std::to_string(tail.size()));
            Check(Write(u"t.txt", Utf16Bytes(row) + tail), {.pattern = u"*readme"});
        }
    }
}

}  // namespace
