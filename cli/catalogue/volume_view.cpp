#include "cli/catalogue/volume_view.h"

#include <filesystem>

#include "ZorelText.h"
#include "cli/catalogue/volume_list.h"
#include "cli/meta_files/meta_file.h"

namespace zorel::cli {

namespace fs = std::filesystem;

void WriteVolumeList(const std::string& path, const std::vector<CCatalogue::Volume>& volumes) {
    CMetaFile list(path, EIdxMetaCreateNewDetached);
    for (const CCatalogue::Volume& volume : volumes) {
        // The library joins the path of a volume with the folder of its list.
        list.Set(ToUtf16("Volume." + volume.name),
                 ToUtf16(fs::relative(volume.dataFile, fs::path(path).parent_path()).string()));
    }
    list.Save();
}

CVolumeView::CVolumeView(const std::vector<CCatalogue::Volume>& volumes)
    : m_folder((fs::temp_directory_path() / "oibidx-").string()) {
    WriteVolumeList(VolumeList(), volumes);
}

std::string CVolumeView::VolumeList() const {
    return Folder() + "/" + kVolumeListName;
}

}  // namespace zorel::cli
