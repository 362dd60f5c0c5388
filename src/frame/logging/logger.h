// The text log of the process.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "frame/errors.h"

namespace frame {

class CLogger;

// Lowest level first. Only the log writers know level 5.
enum ELogLevel : std::int32_t {
    ELogDetail = 1,
    ELogInfo = 2,
    ELogWarning = 3,
    ELogError = 4,
};

// The destination of log lines. The logger calls Write with its lock held. A writer also has
// its own lock, because several loggers can share it.
class CLogWriter {
public:
    CLogWriter() = default;
    CLogWriter(const CLogWriter&) = delete;
    CLogWriter& operator=(const CLogWriter&) = delete;
    virtual ~CLogWriter() = default;

    // Writes one line, passed without its line break. Throws only std::bad_alloc.
    virtual void Write(std::int32_t level, const CLogger& logger, std::int32_t depth,
                       std::u16string_view line) = 0;
};

// Writes messages to its writer; writes nothing while it has no writer. Any thread may call
// it. The lines of a message are consecutive in the log. Lock order: logger, then writer.
// Reports no failure: a message is dropped if there is not enough memory for it.
class CLogger {
public:
    CLogger();

    // Waits until the current message is written. Releases the previous writer.
    void SetWriter(std::shared_ptr<CLogWriter> writer) noexcept;
    // Stores the flag, which has no effect on the log. Kept for compatibility.
    void SetSkipSecure(bool skip) noexcept;
    // Adds a tag that is written in brackets before every later message.
    void AddTag(std::u16string tag);
    // To be called only from CLogWriter::Write.
    const std::vector<std::u16string>& Tags() const noexcept { return m_tags; }

    bool IsEnabled(std::int32_t level) const noexcept;
    // Writes one log line for each line of the text. CR LF and LF end a line. An empty text has
    // no lines.
    void Log(std::int32_t level, std::u16string_view text) noexcept;
    void Log(std::int32_t level, std::u16string_view text, TextArgs args) noexcept;
    void Log(std::int32_t level, std::uint32_t stringId, TextArgs args = {}) noexcept;
    // Writes every message of `exc` as a separate message, newest first, one level deeper.
    void LogException(std::int32_t level, const CExc& exc) noexcept;
    // The smallest depth is 0.
    void ChangeIndent(std::int32_t delta) noexcept;

private:
    struct Lock {
        std::recursive_mutex mutex;
    };
    struct Core {
        std::shared_ptr<Lock> lock = std::make_shared<Lock>();
        std::shared_ptr<CLogWriter> writer;
        std::int32_t threshold = ELogDetail;
    };
    struct IndentState {
        std::shared_ptr<Lock> lock;  // the core's
        std::int32_t depth = 0;
    };
    using Hold = std::lock_guard<std::recursive_mutex>;

    void WriteLines(std::int32_t level, std::u16string_view text, std::int32_t depth);

    std::vector<std::u16string> m_tags;
    std::shared_ptr<Core> m_core;
    std::shared_ptr<IndentState> m_indent;
    bool m_skipSecure = false;
};

// The logger of the process. It has no writer until SetWriter is called.
CLogger& ProcessLogger();

// Logs a text in its constructor and the same text with the outcome when it ends: "Failed.",
// or "Ok." if Ok() was called. Logs nothing if logging was disabled when it was constructed.
class CLogScope {
public:
    // Logs "text", then "text. Ok." or "text. Failed.".
    CLogScope(std::u16string_view text, CLogger& logger, std::int32_t level = ELogDetail) noexcept;
    // Logs the text with this id, then the text directly followed by "Ok." or "Failed.".
    CLogScope(std::uint32_t stringId, CLogger& logger, std::int32_t level = ELogDetail) noexcept;
    CLogScope(const CLogScope&) = delete;
    CLogScope& operator=(const CLogScope&) = delete;
    ~CLogScope() { Finish(u"Failed."); }

    void Ok() noexcept { Finish(u"Ok."); }

private:
    void Begin() noexcept;
    void Finish(std::u16string_view outcome) noexcept;

    CLogger& m_logger;
    std::int32_t m_level;
    std::u16string m_text;
    std::u16string_view m_separator;  // between text and outcome
    bool m_finished = true;
};

}  // namespace frame
