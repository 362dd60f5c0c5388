// The text data files of one run in their folder.
#pragma once

#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/catalogue/catalogue_lock.h"
#include "cli/catalogue/temporary_folder.h"

namespace zorel::cli {

// A hidden folder OUTPUT/.oibidx-XXXXXX, in which the files are written, until Publish replaces
// those of earlier runs by them: all or none. A run that ends before leaves no file. Runs at the
// same time publish one after the other. When the process is killed, the next run completes what
// it finds or restores it, as doc/text-data-files.md describes. Failures are std::system_error
// with the path.
class CTextFileSet {
public:
    // Creates the output folder if it is missing.
    explicit CTextFileSet(std::filesystem::path output);

    // For files of the run that are not published.
    const std::filesystem::path& WorkFolder() const { return m_work; }
    // For the files of the run; not created yet.
    std::filesystem::path Folder() const;
    // The names of the files of the run.
    std::set<std::string> Names() const;

    // Moves the files to the output folder, where they replace files of the same names and, unless
    // `isOldKept`, all other text data files of the volumes.
    void Publish(const std::vector<std::string>& volumes, bool isOldKept);

private:
    std::vector<std::string> EarlierNames(const std::vector<std::string>& volumes, bool isOldKept,
                                          const std::set<std::string>& names) const;
    void Replace(const std::vector<std::string>& earlier) const;
    void RestoreAfter(const std::exception& failure, const std::set<std::string>& names) const;
    void Restore(const std::set<std::string>& names) const;

    std::filesystem::path m_output;
    std::filesystem::path m_work;
    std::unique_ptr<CCatalogueLock> m_lock;    // of the work folder
    std::optional<CTemporaryFolder> m_folder;  // removed before the lock is released
};

}  // namespace zorel::cli
