#include "cli/catalogue/temporary_folder.h"

#include <filesystem>
#include <system_error>

namespace zorel::cli {

CTemporaryFolder::CTemporaryFolder(const std::string& start)
    : m_path(Make(start)), m_watcher([this] {
          m_removal.lock();  // until the process ends
          Remove();
      }) {}

void CTemporaryFolder::Remove() const {
    if (m_isKept) {
        return;
    }
    // Another thread can still write into the folder when a signal ends the program.
    constexpr int kAttempts = 10;
    std::error_code error;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::filesystem::remove_all(m_path, error);
        if (!error) {
            return;
        }
    }
}

}  // namespace zorel::cli
