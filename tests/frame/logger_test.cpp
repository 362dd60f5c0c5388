#include "frame/logging/logger.h"

#include <gtest/gtest.h>

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

using Lines = std::vector<std::string>;

// The lines of a log as "LEVEL[TAG]|TEXT". Checks the form of the rest: the time stamp, the
// blanks and the line break.
Lines ReadLog(const std::u16string& path) {
    Lines lines;
    std::string content = support::ReadWhole(path);
    const std::regex form(
        R"(\[\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d\]      (\w*)  (?:((?:\[\w+\])+) )? {11}([\s\S]*))");
    for (std::size_t end; (end = content.find("\r\n")) != content.npos; content.erase(0, end + 2)) {
        const std::string line = content.substr(0, end);
        std::smatch parts;
        EXPECT_TRUE(std::regex_match(line, parts, form)) << line;
        lines.push_back(parts.str(1) + parts.str(2) + "|" + parts.str(3));
    }
    EXPECT_EQ(content, "") << "a line without a line break";
    return lines;
}

class LoggerTest : public testing::Test {
protected:
    LoggerTest() { m_logger.SetWriter(std::make_shared<CBackupStyleFileLogWriter>(m_path)); }

    support::CTempFolder m_folder;
    std::u16string m_path = m_folder.Path(u"new/folder/run.log");
    CLogger m_logger;
};

TEST_F(LoggerTest, WritesLevelsAndLines) {
    const std::u16string other = m_folder.Path(u"other.log");
    const std::string zhe = support::kOnLinux ? "\xD0\x96" : WideToAnsi(u"\u0416");
    ASSERT_TRUE(support::WriteWhole(other, "[01.01.2001 00:00:00]      Info             kept\r\n"));
    const std::pair<std::int32_t, std::u16string_view> kMessages[] = {
        {0, u"below the threshold"}, {1, u"one"},    {2, u"a\r\nb\r\n"}, {3, u"w\n\nx"},
        {4, u"cr\r alone\r"},        {5, u"\u0416"}, {6, u"no word"},    {1, u""}};
    for (const auto& [level, text] : kMessages) {
        m_logger.Log(level, text);
    }
    m_logger.SetWriter(std::make_shared<CBackupStyleFileLogWriter>(other));
    m_logger.AddTag(u"job");
    m_logger.AddTag(u"7");
    m_logger.Log(2, u"%1 of %2", {u"one", u"two"});
    m_logger.Log(2, 100);
    CExc exc(u"inner", kFail);
    exc.AddMessage(u"outer\r\nwith two lines");
    m_logger.LogException(0, exc);
    m_logger.LogException(4, exc);
    EXPECT_EQ(ReadLog(m_path),
              (Lines{"Info|one", "Info|a", "Info|b", "Warning|w", "Warning|", "Warning|x",
                     "Error|cr\r alone\r", "Info|" + zhe, "|no word"}));
    EXPECT_EQ(ReadLog(other), (Lines{"Info|kept", "Info[job][7]|one of two",
                                     "Info[job][7]|ZorelOibIdxLib", "Error[job][7]|outer",
                                     "Error[job][7]|with two lines", "Error[job][7]|inner"}));
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
}

TEST_F(LoggerTest, ScopesLogTheOutcomeOnce) {
    m_logger.SetWriter(nullptr);
    {
        CLogScope silent(u"before logging", m_logger);
        m_logger.SetWriter(std::make_shared<CSimpleFileLogWriter>(m_path));
    }
    {
        CLogScope outer(u"Outer.", m_logger);
        {
            CLogScope inner(u"Inner", m_logger, ELogError);
            m_logger.LogException(3, CExc(u"why", kFail));
        }
        outer.Ok();
        outer.Ok();
    }
    { CLogScope scope(100, m_logger); }
    CLogScope(100, m_logger).Ok();
    m_logger.ChangeIndent(-5);
    m_logger.Log(1, u"ground");
    EXPECT_EQ(ReadLog(m_path),
              (Lines{"Info|  Outer.", "Error|      Inner", "Warning|          why",
                     "Error|      Inner. Failed.", "Info|  Outer.. Ok.", "Info|  ZorelOibIdxLib",
                     "Info|  ZorelOibIdxLibFailed.", "Info|  ZorelOibIdxLib",
                     "Info|  ZorelOibIdxLibOk.", "Info|ground"}));
}

TEST_F(LoggerTest, KeepsMessagesOfSeveralThreadsWhole) {
    const auto work = [&](std::u16string_view name) {
        for (int i = 0; i < 40; ++i) {
            CLogScope scope(u"scope", m_logger, ELogInfo);
            m_logger.Log(3, u"%1 begin\n%1 middle\n%1 end", {name});
            m_logger.SetWriter(std::make_shared<CBackupStyleFileLogWriter>(m_path));
            scope.Ok();
        }
    };
    { const std::jthread a(work, u"a"), b(work, u"b"), c(work, u"c"), d(work, u"d"); }
    Lines messages = ReadLog(m_path);
    std::erase_if(messages, [](const auto& line) { return !line.starts_with("Warning|"); });
    ASSERT_EQ(messages.size(), 3U * 4 * 40);
    for (std::size_t i = 0; i < messages.size(); i += 3) {
        const std::string thread = messages[i].substr(0, 9);
        EXPECT_EQ((Lines{&messages[i], &messages[i] + 3}),
                  (Lines{thread + " begin", thread + " middle", thread + " end"}));
    }
}

TEST_F(LoggerTest, FileWritersNameTheirFiles) {
    platform::SystemTime now;
    do {
        now = platform::GetLocalTime();
        m_logger.SetWriter(
            std::make_shared<CDailyFileLogWriter>(m_folder.Path() + u"\\new.d/a.b.log"));
        m_logger.Log(4, u"daily");
    } while (now.day != platform::GetLocalTime().day);
    char name[32];
    std::snprintf(name, sizeof name, "new.d/a.b-%04u-%02u-%02u.log", now.year, now.month, now.day);
    m_logger.SetWriter(std::make_shared<CSimpleFileLogWriter>(m_folder.Path(u"s.log")));
    m_logger.ChangeIndent(+1);
    m_logger.Log(4, u"simple");
    EXPECT_EQ(ReadLog(m_folder.Path(AnsiToWide(name))), Lines{"Error|daily"});
    EXPECT_EQ(ReadLog(m_folder.Path(u"s.log")), Lines{"Error|  simple"});
}

}  // namespace
}  // namespace frame
