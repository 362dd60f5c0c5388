#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <vector>

#include "cli/catalogue/posix/directory.h"
#include "cli/scan/folder_scanner.h"
#include "cli/scan/posix/account_owners.h"
#include "cli/scan/posix/system_file_systems.h"

namespace zorel::cli {

// One scan: a walk in depth-first order that records each folder before its content.
class CTreeWalk {
public:
    CTreeWalk(CDataFileWriter& writer, const CatalogueFiles& catalogue, const ScanOptions& options,
              ScanEvents events);

    // Records the content of the open folder `start`, which messages call `path`.
    ScanTotals Run(const std::string& path, CDescriptor start);

private:
    // A folder on the way from the start to the current one.
    struct Level {
        std::string name;        // of the start: its path
        CDescriptor descriptor;  // none while closed to save descriptors
        FolderId id;
        std::int64_t folder = 0;            // index in the data file
        std::vector<std::string> pending;   // subfolders not yet visited, the next one last
        std::vector<std::string> recorded;  // subfolders in the data file, in its order
    };

    void Visit(const std::string& name);
    void Enter(Level level);
    bool IsToEnter(const Level& level) const;
    void Leave();
    void List();
    void Record(const std::string& name);
    void RecordFile(const std::string& name, const struct stat& status);
    std::int64_t AddFolder(const std::string& name);
    void ReportUnreachable();
    void Omit(ESkipped kind, const std::string& path, int error);
    std::string Path(const std::string& name = "") const;
    bool IsExcluded(const std::string& name, bool isFolder) const;
    bool IsCatalogueName(const std::string& name) const;
    bool ContainsOnlyCatalogue(const Level& level) const;
    CDescriptor Reopen(std::size_t index, const Level& child) const;

    CDataFileWriter& m_writer;
    FolderId m_catalogue;
    std::vector<std::string> m_catalogueNames;
    const ScanOptions& m_options;
    ScanEvents m_events;
    CSystemFileSystems m_systemFileSystems;
    CAccountOwners m_owners;
    rec::CFileRecord m_file;  // the record of the current file
    std::vector<Level> m_levels;
    std::size_t m_firstOpen = 1;  // the start and the levels from this index on are open
    ScanTotals m_totals;
};

}  // namespace zorel::cli
