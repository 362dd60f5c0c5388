// The text log of the process: levels, nesting, and the lock that keeps messages whole.
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

// Smallest level first; 5 is known to writers only.
enum ELogLevel : std::int32_t {
    ELogDetail = 1,
    ELogInfo = 2,
    ELogWarning = 3,
    ELogError = 4,
};

// Where log lines go. The logger calls it with its lock held; a writer that several
// loggers share needs, and has, a lock of its own.
class CLogWriter {
public:
    CLogWriter() = default;
    CLogWriter(const CLogWriter&) = delete;
    CLogWriter& operator=(const CLogWriter&) = delete;
    virtual ~CLogWriter() = default;

    // Takes one line without its line break. Throws nothing but std::bad_alloc.
    virtual void Write(std::int32_t level, const CLogger& logger, std::int32_t depth,
                       std::u16string_view line) = 0;
};

// Writes messages to its writer, nothing while it has none. Any thread may call it: a
// message stands in the log as a whole, its lines one after the other. Lock order: logger,
// then writer. Never reports a failure; a message for which memory is short is dropped.
class CLogger {
public:
    CLogger();

    // Waits for the message being written. The writer before is let go.
    void SetWriter(std::shared_ptr<CLogWriter> writer) noexcept;
    // Kept, and without effect on what is logged.
    void SetSkipSecure(bool skip) noexcept;
    // Shown in brackets in front of every later message.
    void AddTag(std::u16string tag);
    // For writers, while they are called.
    const std::vector<std::u16string>& Tags() const noexcept { return m_tags; }

    bool IsEnabled(std::int32_t level) const noexcept;
    // One line for each line of the text; CR LF and LF end one. An empty text has none.
    void Log(std::int32_t level, std::u16string_view text) noexcept;
    void Log(std::int32_t level, std::u16string_view text, TextArgs args) noexcept;
    void Log(std::int32_t level, std::uint32_t stringId, TextArgs args = {}) noexcept;
    // Every message of `exc` by itself, newest first, one step deeper.
    void LogException(std::int32_t level, const CExc& exc) noexcept;
    // The depth never falls below 0.
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

// The one logger of the process. It writes nothing until it is given a writer.
CLogger& ProcessLogger();

// Logs a text now and, at its end, the same text with the outcome: failed, unless Ok() was
// called. A scope that began while nothing was logged stays silent.
class CLogScope {
public:
    // "text", then "text. Ok." or "text. Failed."
    CLogScope(std::u16string_view text, CLogger& logger, std::int32_t level = ELogDetail) noexcept;
    // The text with this id, then the text with "Ok." or "Failed." right behind it.
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
