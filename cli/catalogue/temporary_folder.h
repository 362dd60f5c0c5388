#pragma once

#include <mutex>
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
    // A signal that arrives while the result exists ends the program only when it is destroyed.
    [[nodiscard]] std::unique_lock<std::mutex> DelaySignals() {
        return std::unique_lock(m_removal);
    }
    // Whether the folder is not removed.
    void SetKept(bool isKept) { m_isKept = isKept; }

private:
    static std::string Make(const std::string& start);
    void Remove() const;

    std::string m_path;
    std::mutex m_removal;
    bool m_isKept = false;
    CInterruptWatcher m_watcher;
};

}  // namespace zorel::cli
