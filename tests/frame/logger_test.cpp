#include "frame/logging/logger.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <thread>

#include "frame/conversions.h"
#include "frame/logging/log_writers.h"
#include "platform/times.h"
#include "support/port_files.h"
#include "support/target.h"
#include "support/temp_folder.h"

namespace frame {
namespace {

constexpr char kBlanks[] = "           ";  // eleven

// The lines of a log without their time stamps, each of which is checked for its form.
std::vector<std::string> ReadLog(const std::u16string& path) {
    std::vector<std::string> lines;
    std::string content = support::ReadWhole(path);
    const std::regex stamp(R"(\[\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d\]      )");
    while (!content.empty()) {
        const std::size_t end = content.find("\r\n");
        if (end == std::string::npos) {
            ADD_FAILURE() << "a line is not ended: " << content;
            break;
        }
        const std::string line = content.substr(0, end);
        EXPECT_TRUE(std::regex_search(line, stamp, std::regex_constants::match_continuous)) << line;
        lines.push_back(
            std::regex_replace(line, stamp, "", std::regex_constants::format_first_only));
        content.erase(0, end + 2);
    }
    return lines;
}

class LoggerTest : public testing::Test {
protected:
    LoggerTest() { m_logger.SetWriter(std::make_shared<CBackupStyleFileLogWriter>(m_path)); }

    support::CTempFolder m_folder;
    std::u16string m_path = m_folder.Path(u"new/folder/run.log");
    CLogger m_logger;
};

using Lines = std::vector<std::string>;

TEST_F(LoggerTest, WritesLevelsAndLines) {
    struct Row {
        std::int32_t level;
        std::u16string_view text;
        Lines expected;
    };
    const std::string info = std::string("Info  ") + kBlanks;
    const Row kRows[] = {
        {0, u"below the threshold", {}},
        {1, u"one", {info + "one"}},
        {2, u"a\r\nb\r\n", {info + "a", info + "b"}},
        {3,
         u"w\n\nx",
         {std::string("Warning  ") + kBlanks + "w", std::string("Warning  ") + kBlanks,
          std::string("Warning  ") + kBlanks + "x"}},
        {4, u"cr\r alone\r", {std::string("Error  ") + kBlanks + "cr\r alone\r"}},
        {5, u"\u0416", {info + (support::kOnLinux ? "\xD0\x96" : WideToAnsi(u"\u0416"))}},
        {6, u"no word", {std::string("  ") + kBlanks + "no word"}},
        {1, u"", {}},
    };
    Lines expected;
    for (const Row& row : kRows) {
        m_logger.Log(row.level, row.text);
        expected.insert(expected.end(), row.expected.begin(), row.expected.end());
    }
    EXPECT_EQ(ReadLog(m_path), expected);
}

TEST_F(LoggerTest, ShowsTagsAndFormatsArguments) {
    m_logger.AddTag(u"job");
    m_logger.AddTag(u"7");
    m_logger.Log(2, u"%1 of %2", {u"one", u"two"});
    m_logger.Log(2, 100);
    EXPECT_EQ(ReadLog(m_path),
              (Lines{std::string("Info  [job][7] ") + kBlanks + "one of two",
                     std::string("Info  [job][7] ") + kBlanks + "ZorelOibIdxLib"}));
}

TEST_F(LoggerTest, AppendsToWhatIsThereAndFollowsANewWriter) {
    const std::u16string other = m_folder.Path(u"other.log");
    ASSERT_TRUE(support::WriteWhole(other, "[01.01.2001 00:00:00]      kept\r\n"));
    m_logger.Log(1, u"first");
    m_logger.SetWriter(std::make_shared<CBackupStyleFileLogWriter>(other));
    m_logger.Log(1, u"second");
    EXPECT_EQ(ReadLog(m_path), Lines{std::string("Info  ") + kBlanks + "first"});
    EXPECT_EQ(ReadLog(other), (Lines{"kept", std::string("Info  ") + kBlanks + "second"}));
}

TEST_F(LoggerTest, DropsLinesThatCannotBeWritten) {
    ASSERT_TRUE(support::WriteWhole(m_folder.Path(u"file"), ""));
    for (const std::u16string& path : {std::u16string(), m_folder.Path(u"file/x.log"),
                                       std::u16string(u"no\0name.log", 11), m_folder.Path()}) {
        m_logger.SetWriter(std::make_shared<CBackupStyleFileLogWriter>(path));
        m_logger.Log(1, u"lost");
    }
    m_logger.SetWriter(nullptr);
    m_logger.Log(1, u"lost");
    EXPECT_FALSE(m_logger.IsEnabled(4));
    EXPECT_EQ(support::ReadWhole(m_folder.Path(u"file")), "");
}

TEST_F(LoggerTest, LogsExceptionsNewestFirst) {
    CExc exc(u"inner", kFail);
    exc.AddMessage(u"outer\r\nwith two lines");
    m_logger.LogException(4, exc);
    const std::string error = std::string("Error  ") + kBlanks;
    EXPECT_EQ(ReadLog(m_path), (Lines{error + "outer", error + "with two lines", error + "inner"}));
}

// Remembers what it is told.
class CMemoryWriter final : public CLogWriter {
public:
    void Write(std::int32_t level, const CLogger&, std::int32_t depth,
               std::u16string_view line) override {
        m_seen.push_back(std::to_string(level) + "/" + std::to_string(depth) + " " +
                         WideToAnsi(line));
    }
    Lines m_seen;
};

TEST(LogScope, TellsTheOutcomeOnce) {
    const auto writer = std::make_shared<CMemoryWriter>();
    CLogger logger;
    {
        CLogScope silent(u"before logging", logger);
        logger.SetWriter(writer);
    }
    {
        CLogScope outer(u"Outer.", logger);
        {
            CLogScope inner(u"Inner", logger, ELogInfo);
            logger.LogException(3, CExc(u"why", kFail));
        }
        outer.Ok();
        outer.Ok();
    }
    try {
        CLogScope scope(100, logger);
        throw CExc(u"left", kFail);
    } catch (const CExc&) {
    }
    {
        CLogScope scope(100, logger);
        scope.Ok();
    }
    logger.ChangeIndent(-5);
    logger.Log(1, u"ground");
    EXPECT_EQ(writer->m_seen,
              (Lines{"1/1 Outer.", "2/3 Inner", "3/5 why", "2/3 Inner. Failed.", "1/1 Outer.. Ok.",
                     "1/1 ZorelOibIdxLib", "1/1 ZorelOibIdxLibFailed.", "1/1 ZorelOibIdxLib",
                     "1/1 ZorelOibIdxLibOk.", "1/0 ground"}));
}

TEST_F(LoggerTest, KeepsMessagesOfSeveralThreadsWhole) {
    constexpr int kThreads = 4;
    constexpr int kMessages = 40;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const std::u16string name = IntToString(t);
            for (int i = 0; i < kMessages; ++i) {
                CLogScope scope(u"scope", m_logger, ELogInfo);
                m_logger.Log(3, u"%1 begin\n%1 middle\n%1 end", {name});
                m_logger.SetWriter(std::make_shared<CBackupStyleFileLogWriter>(m_path));
                scope.Ok();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Lines messages;
    for (const std::string& line : ReadLog(m_path)) {
        if (line.starts_with("Warning")) {
            messages.push_back(line.substr(std::string("Warning  ").size() + 11));
        }
    }
    ASSERT_EQ(messages.size(), 3U * kThreads * kMessages);
    for (std::size_t i = 0; i < messages.size(); i += 3) {
        const std::string thread = messages[i].substr(0, 1);
        EXPECT_EQ(messages[i], thread + " begin");
        EXPECT_EQ(messages[i + 1], thread + " middle");
        EXPECT_EQ(messages[i + 2], thread + " end");
    }
}

TEST(FileLogWriters, NameTheirFiles) {
    support::CTempFolder folder;
    CLogger logger;
    platform::SystemTime now;
    do {
        now = platform::GetLocalTime();
        logger.SetWriter(std::make_shared<CDailyFileLogWriter>(folder.Path(u"a.b.log")));
        logger.Log(4, u"daily");
    } while (now.day != platform::GetLocalTime().day);
    char name[32];
    std::snprintf(name, sizeof name, "a.b-%04u-%02u-%02u.log", now.year, now.month, now.day);
    logger.SetWriter(std::make_shared<CSimpleFileLogWriter>(folder.Path(u"s.log")));
    logger.ChangeIndent(+1);
    logger.Log(4, u"simple");
    const std::string head = std::string("Error  ") + kBlanks;
    EXPECT_EQ(ReadLog(folder.Path(AnsiToWide(name))), Lines{head + "daily"});
    EXPECT_EQ(ReadLog(folder.Path(u"s.log")), Lines{head + "  simple"});
}

}  // namespace
}  // namespace frame
