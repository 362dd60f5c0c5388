#include "frame/logging/logger.h"

#include <algorithm>
#include <new>
#include <utility>

namespace frame {

namespace {

// Runs `body`, which logs a message. Drops the message if there is not enough memory for it.
template <class Body>
void DropOnOutOfMemory(Body body) noexcept {
    try {
        body();
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace

CLogger::CLogger() : m_core(std::make_shared<Core>()), m_indent(std::make_shared<IndentState>()) {
    m_indent->lock = m_core->lock;
}

void CLogger::SetWriter(std::shared_ptr<CLogWriter> writer) noexcept {
    const Hold hold(m_core->lock->mutex);
    m_core->writer.swap(writer);
}

void CLogger::SetSkipSecure(bool skip) noexcept {
    const Hold hold(m_core->lock->mutex);
    m_skipSecure = skip;
}

void CLogger::AddTag(std::u16string tag) {
    const Hold hold(m_core->lock->mutex);
    m_tags.push_back(std::move(tag));
}

bool CLogger::IsEnabled(std::int32_t level) const noexcept {
    const Hold hold(m_core->lock->mutex);
    return m_core->threshold <= level && m_core->writer != nullptr;
}

void CLogger::Log(std::int32_t level, std::u16string_view text) noexcept {
    const Hold hold(m_core->lock->mutex);
    if (IsEnabled(level)) {
        DropOnOutOfMemory([&] { WriteLines(level, text, m_indent->depth); });
    }
}

void CLogger::Log(std::int32_t level, std::u16string_view text, TextArgs args) noexcept {
    if (IsEnabled(level)) {
        DropOnOutOfMemory([&] { Log(level, FormatText(text, args)); });
    }
}

void CLogger::Log(std::int32_t level, std::uint32_t stringId, TextArgs args) noexcept {
    if (IsEnabled(level)) {
        DropOnOutOfMemory([&] { Log(level, LoadTableString(stringId), args); });
    }
}

void CLogger::LogException(std::int32_t level, const CExc& exc) noexcept {
    const Hold hold(m_core->lock->mutex);
    if (!IsEnabled(level)) {
        return;
    }
    DropOnOutOfMemory([&] {
        for (const std::u16string& message : exc.GetMessages()) {
            WriteLines(level, message, m_indent->depth + 1);
        }
    });
}

void CLogger::ChangeIndent(std::int32_t delta) noexcept {
    const Hold hold(m_indent->lock->mutex);
    m_indent->depth = std::max(m_indent->depth + delta, 0);
}

void CLogger::WriteLines(std::int32_t level, std::u16string_view text, std::int32_t depth) {
    const std::shared_ptr<CLogWriter> writer = m_core->writer;
    while (!text.empty()) {
        const std::size_t feed = text.find(u'\n');
        std::u16string_view line = text.substr(0, feed);
        text.remove_prefix(feed == std::u16string_view::npos ? text.size() : feed + 1);
        if (feed != std::u16string_view::npos && line.ends_with(u'\r')) {
            line.remove_suffix(1);
        }
        writer->Write(level, *this, depth, line);
    }
}

CLogger& ProcessLogger() {
    static CLogger logger;
    return logger;
}

CLogScope::CLogScope(std::u16string_view text, CLogger& logger, std::int32_t level) noexcept
    : m_logger(logger), m_level(level), m_separator(u". ") {
    if (m_logger.IsEnabled(m_level)) {
        DropOnOutOfMemory([&] {
            m_text = text;
            Begin();
        });
    }
}

CLogScope::CLogScope(std::uint32_t stringId, CLogger& logger, std::int32_t level) noexcept
    : m_logger(logger), m_level(level) {
    if (m_logger.IsEnabled(m_level)) {
        DropOnOutOfMemory([&] {
            m_text = LoadTableString(stringId);
            Begin();
        });
    }
}

void CLogScope::Begin() noexcept {
    m_finished = false;
    m_logger.ChangeIndent(+1);
    m_logger.Log(m_level, m_text);
    m_logger.ChangeIndent(+1);
}

void CLogScope::Finish(std::u16string_view outcome) noexcept {
    if (m_finished || !m_logger.IsEnabled(m_level)) {
        return;
    }
    m_finished = true;
    m_logger.ChangeIndent(-1);
    m_logger.Log(m_level, u"%1%2%3", {m_text, m_separator, outcome});
    m_logger.ChangeIndent(-1);
}

}  // namespace frame
