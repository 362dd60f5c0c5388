// The log writers: text files with one line for each log line.
#pragma once

#include <mutex>
#include <string>

#include "frame/logging/logger.h"
#include "platform/times.h"

namespace frame {

// Appends to one file:
//
//     [15.01.2013 09:05:07]      Info             text
//
// in local time and 8-bit text, tags in brackets before the text. The file is opened and
// closed for every line, so that others may read, move or remove it in between; missing
// folders are made. A line that cannot be written is dropped.
class CBackupStyleFileLogWriter final : public CLogWriter {
public:
    explicit CBackupStyleFileLogWriter(std::u16string path) : m_path(std::move(path)) {}

    void Write(std::int32_t level, const CLogger& logger, std::int32_t depth,
               std::u16string_view line) override;

private:
    std::mutex m_lock;
    std::u16string m_path;
};

// Writes lines of the same form to a file whose name may change from line to line, texts
// indented by two blanks for each step of depth.
class CFileLogWriter : public CLogWriter {
public:
    void Write(std::int32_t level, const CLogger& logger, std::int32_t depth,
               std::u16string_view line) override;

protected:
    // The file for a line of this time.
    virtual std::u16string FilePath(const platform::SystemTime& time) const = 0;

private:
    std::mutex m_lock;
};

class CSimpleFileLogWriter final : public CFileLogWriter {
public:
    explicit CSimpleFileLogWriter(std::u16string path) : m_path(std::move(path)) {}

protected:
    std::u16string FilePath(const platform::SystemTime& time) const override;

private:
    std::u16string m_path;
};

// A file for each day: "-YYYY-MM-DD" stands behind the base name.
class CDailyFileLogWriter final : public CFileLogWriter {
public:
    explicit CDailyFileLogWriter(std::u16string path) : m_path(std::move(path)) {}

protected:
    std::u16string FilePath(const platform::SystemTime& time) const override;

private:
    std::u16string m_path;
};

}  // namespace frame
