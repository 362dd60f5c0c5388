#include "frame/logging/log_writers.h"

#include <algorithm>
#include <cstdio>

#include "frame/conversions.h"
#include "frame/file_system.h"
#include "platform/files.h"

namespace frame {

namespace {

const char* LevelWord(std::int32_t level) {
    switch (level) {
        case ELogDetail:
        case ELogInfo:
        case 5:
            return "Info";
        case ELogWarning:
            return "Warning";
        case ELogError:
            return "Error";
        default:
            return "";
    }
}

// The complete line with its line break; the text is indented by `indent` blanks.
std::string ComposeLine(const platform::SystemTime& time, std::int32_t level, const CLogger& logger,
                        std::size_t indent, std::u16string_view text) {
    char head[64];
    static_cast<void>(std::snprintf(head, sizeof head, "[%02u.%02u.%04u %02u:%02u:%02u]      %s  ",
                                    time.day, time.month, time.year, time.hour, time.minute,
                                    time.second, LevelWord(level)));
    std::string line = head;
    for (const std::u16string& tag : logger.Tags()) {
        line += '[';
        line += WideToAnsi(tag);
        line += ']';
    }
    line += logger.Tags().empty() ? "" : " ";
    line.append(11 + indent, ' ');
    line += WideToAnsi(text);
    return line += "\r\n";
}

platform::CFileHandle Open(std::u16string_view path, std::uint32_t disposition) {
    return platform::CFileHandle(platform::CreateFileW(path, platform::kGenericWrite,
                                                       platform::kShareRead, disposition,
                                                       platform::kAttributeNormal));
}

platform::CFileHandle OpenOrCreate(std::u16string_view path) {
    platform::CFileHandle file = Open(path, platform::kOpenExisting);
    if (file) {
        return file;
    }
    try {
        const std::u16string_view folder = path.substr(0, FolderLength(path));
        if (!folder.empty()) {
            CreateFolder(folder);
        }
    } catch (const CExc&) {
        return {};
    }
    return Open(path, platform::kOpenAlways);
}

void AppendLine(std::u16string_view path, std::string_view line) {
    const platform::CFileHandle file = OpenOrCreate(path);
    if (file && platform::SetFilePointerEx(file.Get(), 0, nullptr, platform::EMoveMethod::End)) {
        std::size_t ignored = 0;
        platform::WriteFile(file.Get(), line.data(), line.size(), ignored);
    }
}

}  // namespace

void CBackupStyleFileLogWriter::Write(std::int32_t level, const CLogger& logger,
                                      std::int32_t /*depth*/, std::u16string_view line) {
    const std::lock_guard<std::mutex> hold(m_lock);
    AppendLine(m_path, ComposeLine(platform::GetLocalTime(), level, logger, 0, line));
}

void CFileLogWriter::Write(std::int32_t level, const CLogger& logger, std::int32_t depth,
                           std::u16string_view line) {
    const std::lock_guard<std::mutex> hold(m_lock);
    const platform::SystemTime time = platform::GetLocalTime();
    const std::size_t indent = 2 * static_cast<std::size_t>(std::max(depth, 0));
    AppendLine(FilePath(time), ComposeLine(time, level, logger, indent, line));
}

std::u16string CSimpleFileLogWriter::FilePath(const platform::SystemTime& /*time*/) const {
    return m_path;
}

std::u16string CDailyFileLogWriter::FilePath(const platform::SystemTime& time) const {
    char day[32];
    static_cast<void>(
        std::snprintf(day, sizeof day, "-%04u-%02u-%02u", time.year, time.month, time.day));
    const std::size_t dot = m_path.rfind(u'.');
    const std::size_t at =
        dot == std::u16string::npos || dot < FolderLength(m_path) ? m_path.size() : dot;
    return m_path.substr(0, at) + AnsiToWide(day) + m_path.substr(at);
}

}  // namespace frame
