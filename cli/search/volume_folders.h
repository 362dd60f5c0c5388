#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "cli/catalogue/catalogue.h"
#include "cli/catalogue/temporary_folder.h"

namespace zorel::cli {

// Whether the library can search the catalogue by the path of its folder.
bool IsCatalogueFolder(const CCatalogue& catalogue);

// Temporary folders with lists of some volumes, for searches by several threads: the library
// searches every volume of a list. Create it before other threads.
class CVolumeFolders {
public:
    CVolumeFolders();

    // The path of a folder with a list of these volumes. Throws client::CError and
    // std::system_error.
    std::string Add(const std::vector<CCatalogue::Volume>& volumes);

private:
    CTemporaryFolder m_folder;
    std::atomic<unsigned> m_count = 0;
};

}  // namespace zorel::cli
