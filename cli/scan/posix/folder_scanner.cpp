#include "cli/scan/folder_scanner.h"

#include <utility>

#include "cli/catalogue/posix/directory.h"
#include "cli/scan/posix/tree_walk.h"

namespace zorel::cli {

CFolderScanner::CFolderScanner(const std::string& start)
    : m_path(start), m_start(std::make_unique<CDescriptor>(OpenFolder(start))) {}

CFolderScanner::~CFolderScanner() = default;

ScanTotals CFolderScanner::Scan(CDataFileWriter& writer, const CatalogueFiles& catalogue,
                                const ScanOptions& options, ScanEvents events) {
    CTreeWalk walk(writer, catalogue, options, std::move(events));
    return walk.Run(m_path, std::move(*m_start));
}

}  // namespace zorel::cli
