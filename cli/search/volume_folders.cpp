#include "cli/search/volume_folders.h"

#include <filesystem>

#include "cli/catalogue/volume_list.h"
#include "cli/catalogue/volume_view.h"

namespace zorel::cli {

namespace fs = std::filesystem;

bool IsCatalogueFolder(const CCatalogue& catalogue) {
    return fs::path(catalogue.VolumeList()).filename() == kVolumeListName;
}

CVolumeFolders::CVolumeFolders() : m_folder((fs::temp_directory_path() / "oibidx-").string()) {}

std::string CVolumeFolders::Add(const std::vector<CCatalogue::Volume>& volumes) {
    const std::string folder = m_folder.Path() + "/" + std::to_string(m_count++);
    fs::create_directory(folder);
    WriteVolumeList(folder + "/" + kVolumeListName, volumes);
    return folder;
}

}  // namespace zorel::cli
