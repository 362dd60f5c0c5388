// The log writers: they write text files with one line for each log line.
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
// with the local time, in 8-bit text; tags are written in brackets before the text. The file
// is opened and closed for every line, so that other processes can read, move or remove it
// between two lines. Missing folders are created. A line that cannot be written is dropped.
class CBackupStyleFileLogWriter final : public CLogWriter {
public:
    explicit CBackupStyleFileLogWriter(std::u16string path) : m_path(std::move(path)) {}

    void Write(std::int32_t level, const CLogger& logger, std::int32_t depth,
               std::u16string_view line) override;

private:
    std::mutex m_lock;
    std::u16string m_path;
};

// Writes lines of the same form, with the text indented by two blanks for each level of
// depth, to a file whose name can depend on the time.
class CFileLogWriter : public CLogWriter {
public:
    void Write(std::int32_t level, const CLogger& logger, std::int32_t depth,
               std::u16string_view line) override;

protected:
    // The file for a line written at `time`.
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

// Writes one file for each day: "-YYYY-MM-DD" follows the base name of the file.
class CDailyFileLogWriter final : public CFileLogWriter {
public:
    explicit CDailyFileLogWriter(std::u16string path) : m_path(std::move(path)) {}

protected:
    std::u16string FilePath(const platform::SystemTime& time) const override;

private:
    std::u16string m_path;
};

}  // namespace frame
