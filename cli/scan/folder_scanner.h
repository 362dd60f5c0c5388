#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/catalogue/data_file_writer.h"
#include "cli/scan/exclusions.h"

namespace zorel::cli {

class CDescriptor;

// What a scan does not record, by kind.
enum class ESkipped : std::size_t {
    Excluded,    // at the user's request
    NotEntered,  // a folder of another file system, recorded without its content
    SymbolicLink,
    Socket,
    Fifo,
    Device,
    UnreadableFolder,  // recorded, but not all of its content
    UnreadableEntry,
    Vanished,       // removed or moved between listing and reading
    CatalogueFile,  // part of the catalogue that is being written
    Count
};

struct ScanTotals {
    std::uint64_t bytes = 0;
    std::array<std::uint64_t, static_cast<std::size_t>(ESkipped::Count)> skipped{};
    // Recorded, but no path can name them: the name contains a backslash, or differs from a
    // sibling's name only in ASCII letter case.
    std::uint64_t unreachableFolders = 0;
    std::vector<std::string> notEntered;  // the paths of these folders

    void Skip(ESkipped kind, std::uint64_t count = 1) {
        skipped[static_cast<std::size_t>(kind)] += count;
    }
    std::uint64_t Skipped(ESkipped kind) const { return skipped[static_cast<std::size_t>(kind)]; }
};

// The files of the catalogue itself, which a scan leaves out.
struct CatalogueFiles {
    std::string folder;
    std::vector<std::string> names;
};

struct ScanOptions {
    CExclusions exclusions;
    // Records the folders in which other file systems begin, and does not enter them.
    bool staysOnFileSystem = false;
    // Enters the system's own file systems, too: /proc, /sys and /dev.
    bool entersSystemFolders = false;
};

// Paths begin with that of the scanned folder as the caller gave it.
struct ScanEvents {
    // After each entry; an exception ends the scan.
    std::function<void()> onEntry;
    // For each folder and file that could not be read, and each recorded folder that no path
    // can name.
    std::function<void(const std::string& path, const std::string& reason)> onOmission;
};

// Records a folder tree in a data file. Follows no symbolic link, holds a bounded number of
// descriptors at any depth, and continues when entries vanish.
class CFolderScanner {
public:
    // Opens the folder; throws std::system_error with the path.
    explicit CFolderScanner(const std::string& start);
    ~CFolderScanner();
    CFolderScanner(const CFolderScanner&) = delete;
    CFolderScanner& operator=(const CFolderScanner&) = delete;

    // Throws std::system_error when descriptors or memory run out. Once for each scanner.
    ScanTotals Scan(CDataFileWriter& writer, const CatalogueFiles& catalogue,
                    const ScanOptions& options, ScanEvents events);

private:
    std::string m_path;
    std::unique_ptr<CDescriptor> m_start;
};

}  // namespace zorel::cli
