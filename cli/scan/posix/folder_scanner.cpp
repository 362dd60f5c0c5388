#include "cli/scan/folder_scanner.h"

#include <utility>

#include "cli/catalogue/posix/directory.h"
#include "cli/scan/posix/tree_walk.h"

namespace zorel::cli {

CFolderScanner::CFolderScanner(const std::string& start)
    : m_start(std::make_unique<CDescriptor>(OpenFolder(start))) {}

CFolderScanner::~CFolderScanner() = default;

ScanTotals CFolderScanner::Scan(CDataFileWriter& writer, const CatalogueFiles& catalogue,
                                std::function<void()> onEntry) {
    return CTreeWalk(writer, catalogue, std::move(onEntry)).Run(std::move(*m_start));
}

}  // namespace zorel::cli
