#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/catalogue/posix/directory.h"
#include "cli/scan/folder_scanner.h"
#include "cli/scan/posix/account_owners.h"

namespace zorel::cli {

// One scan: a walk in depth-first order that records each folder before its content.
class CTreeWalk {
public:
    CTreeWalk(CDataFileWriter& writer, const CatalogueFiles& catalogue,
              std::function<void()> onEntry);

    // Records the content of the open folder `start`.
    ScanTotals Run(CDescriptor start);

private:
    // A folder on the way from the start to the current one.
    struct Level {
        std::string name;
        CDescriptor descriptor;  // none while closed to save descriptors
        FolderId id;
        std::int64_t folder = 0;           // index in the data file
        std::vector<std::string> pending;  // subfolders not yet visited, the next one last
    };

    void Visit(const std::string& name);
    void Enter(Level level);
    void Leave();
    void List(Level& level);
    void Record(Level& level, const std::string& name);
    void RecordFile(const Level& level, const std::string& name, const struct stat& status);
    void CountUnreachable(const Level& level);
    bool IsCatalogueName(const std::string& name) const;
    bool ContainsOnlyCatalogue(const Level& level) const;
    CDescriptor Reopen(std::size_t index, const Level& child) const;

    CDataFileWriter& m_writer;
    FolderId m_catalogue;
    std::vector<std::string> m_catalogueNames;
    std::function<void()> m_onEntry;
    CAccountOwners m_owners;
    rec::CFileRecord m_file;  // the record of the current file
    std::vector<Level> m_levels;
    std::size_t m_firstOpen = 1;  // the start and the levels from this index on are open
    ScanTotals m_totals;
};

}  // namespace zorel::cli
