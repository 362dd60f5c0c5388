#pragma once

#include <string>

#include "cli/command_line/signals.h"

namespace zorel::cli {

// A folder that only the user can enter. The destructor removes it with its content; so does a
// signal that ends the program.
class CTemporaryFolder {
public:
    // The path is `start` and random characters. Throws std::system_error with it.
    explicit CTemporaryFolder(const std::string& start);
    ~CTemporaryFolder() { Remove(); }
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;

    const std::string& Path() const { return m_path; }

private:
    static std::string Make(const std::string& start);
    void Remove() const;

    std::string m_path;
    CInterruptWatcher m_watcher;
};

}  // namespace zorel::cli
