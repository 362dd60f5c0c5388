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

// The lines of a log as "LEVEL[TAG]|TEXT". Checks the form of the rest: the time stamp, the
// blanks and the line break.
std::vector<std::string> ReadLog(const std::u16string& path) {
    std::vector<std::string> lines;
    std::string content = support::ReadWhole(path);
    const std::regex form(
        R"(\[\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d\]      (\w*)  (?:((?:\[\w+\])+) )? {11}([\s\S]*))");
    while (!content.empty()) {
        const std::size_t end = content.find("\r\n");
        if (end == std::string::npos) {
            ADD_FAILURE() << "a line without a line break: " << content;
            break;
        }
        const std::string line = content.substr(0, end);
        std::smatch parts;
        EXPECT_TRUE(std::regex_match(line, parts, form)) << line;
        lines.push_back(parts.str(1) + parts.str(2) + "|" + parts.str(3));
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
    const Row kRows[] = {
        {0, u"below the threshold", {}},
        {1, u"one", {"Info|one"}},
        {2, u"a\r\nb\r\n", {"Info|a", "Info|b"}},
        {3, u"w\n\nx", {"Warning|w", "Warning|", "Warning|x"}},
        {4, u"cr\r alone\r", {"Error|cr\r alone\r"}},
        {5,
         u"\u0416",
         {std::string("Info|") + (support::kOnLinux ? "\xD0\x96" : WideToAnsi(u"\u0416"))}},
        {6, u"no word", {"|no word"}},
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
    EXPECT_EQ(ReadLog(m_path), (Lines{"Info[job][7]|one of two", "Info[job][7]|ZorelOibIdxLib"}));
}

TEST_F(LoggerTest, AppendsToAnExistingFileAndUsesANewWriter) {
    const std::u16string other = m_folder.Path(u"other.log");
    ASSERT_TRUE(support::WriteWhole(other, "[01.01.2001 00:00:00]      Info             kept\r\n"));
    m_logger.Log(1, u"first");
    m_logger.SetWriter(std::make_shared<CBackupStyleFileLogWriter>(other));
    m_logger.Log(1, u"second");
    EXPECT_EQ(ReadLog(m_path), Lines{"Info|first"});
    EXPECT_EQ(ReadLog(other), (Lines{"Info|kept", "Info|second"}));
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
    EXPECT_EQ(ReadLog(m_path), (Lines{"Error|outer", "Error|with two lines", "Error|inner"}));
}

// Stores the lines it receives, with level and depth.
class CMemoryWriter final : public CLogWriter {
public:
    void Write(std::int32_t level, const CLogger&, std::int32_t depth,
               std::u16string_view line) override {
        m_seen.push_back(std::to_string(level) + "/" + std::to_string(depth) + " " +
                         WideToAnsi(line));
    }
    Lines m_seen;
};

TEST(LogScope, LogsTheOutcomeOnce) {
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
        if (line.starts_with("Warning|")) {
            messages.push_back(line.substr(8));
        }
    }
    ASSERT_EQ(messages.size(), 3U * kThreads * kMessages);
    for (std::size_t i = 0; i < messages.size(); i += 3) {
        const std::string thread = messages[i].substr(0, 1);
        EXPECT_EQ((Lines{&messages[i], &messages[i] + 3}),
                  (Lines{thread + " begin", thread + " middle", thread + " end"}));
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
    EXPECT_EQ(ReadLog(folder.Path(AnsiToWide(name))), Lines{"Error|daily"});
    EXPECT_EQ(ReadLog(folder.Path(u"s.log")), Lines{"Error|  simple"});
}

}  // namespace
}  // namespace frame
