#pragma once

#include <string>

namespace zorel::cli {

// An empty file with a random name in the target's folder, to be filled by its path and then
// renamed to the target, whose owner and permissions it takes over. Without Commit the
// destructor removes it and the target keeps its content. Failures are std::system_error with
// the target's path.
class CTemporaryFile {
public:
    explicit CTemporaryFile(std::string target);
    ~CTemporaryFile();
    CTemporaryFile(const CTemporaryFile&) = delete;
    CTemporaryFile& operator=(const CTemporaryFile&) = delete;

    const std::string& Path() const { return m_path; }
    // Writes the content to the disk, then renames. The file must be closed.
    void Commit();

private:
    std::string m_target;
    std::string m_path;  // empty after Commit
};

// Removes the temporary files of a catalogue that no writer has open: their processes were
// killed. Call it, create a temporary file until its writer is open, and commit under a lock that
// excludes the others. A failure is ignored.
void RemoveUnfinishedFiles(const std::string& folder);

}  // namespace zorel::cli
