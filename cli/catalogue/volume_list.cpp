#include "cli/catalogue/volume_list.h"

#include "ZorelText.h"
#include "cli/catalogue/catalogue_lock.h"
#include "cli/meta_files/meta_file.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

std::string ListPath(const std::string& catalogue) {
    return catalogue + "/" + kVolumeListName;
}

// Neither mode changes the file before it is saved, and both write it whole, so that a list
// in 8-bit text becomes UTF-16.
CMetaFile OpenList(const std::string& path) {
    return {path, MetaFileExists(path) ? EIdxMetaLoad : EIdxMetaCreateNewDetached};
}

}  // namespace

std::vector<std::string> ListedDataFiles(const std::string& catalogue) {
    const std::string path = ListPath(catalogue);
    std::vector<std::string> files;
    const CCatalogueLock lock(catalogue);
    if (!MetaFileExists(path)) {
        return files;
    }
    const CMetaFile list(path, EIdxMetaLoad);
    for (const std::u16string& name : list.Names()) {
        client::CString file;
        if (list.Find(name, file)) {
            files.push_back(file.Utf8());
        }
    }
    return files;
}

void ListVolume(const std::string& catalogue, char letter, const std::string& dataFile,
                const CCatalogueLock& /*lock*/) {
    const std::u16string volume = ToUtf16(std::string("Volume.") + letter);
    CMetaFile list = OpenList(ListPath(catalogue));
    for (const std::u16string& name : list.Names()) {
        // For the library volume.c and Volume.C are two volumes.
        if (Folded(name) == Folded(volume) && name.back() != volume.back()) {
            list.Delete(name);
        }
    }
    list.Set(volume, ToUtf16(dataFile));
    list.Save();
}

}  // namespace zorel::cli
