#include "tdf/binary_search/volume_catalogue.h"

#include <unordered_map>

#include "frame/errors.h"
#include "frame/file_system.h"
#include "mtf/tree/opened_meta_file.h"
#include "platform/files.h"

namespace tdf {

namespace {

std::u16string LetterOf(std::u16string_view key) {
    const std::size_t dot = key.find(u'.');
    const std::size_t at = dot == std::u16string_view::npos ? 0 : dot + 1;
    return std::u16string(key.substr(at, 1));
}

}  // namespace

CVolumeCatalogue::CVolumeCatalogue(std::u16string_view path)
    : m_reader(std::make_shared<idxdata::CBuffFileReader>()) {
    m_reader->Open(path);
    IndexNames();
}

// A damaged Files table has no index. A search reads it record by record and reports the
// damage.
void CVolumeCatalogue::IndexNames() {
    try {
        idxdata::CSeqTableReader table = OpenFiles();
        m_names = std::make_unique<CPackedNames>(table);
    } catch (const frame::CExc&) {
    }
}

idxdata::CSeqTableReader CVolumeCatalogue::OpenTable(idxdata::EIdxTable table,
                                                     const idxdata::IRecord& layout) const {
    m_reader->SetCurFilePos(0);
    return {m_reader, table, layout};
}

idxdata::CSeqTableReader CVolumeCatalogue::OpenFiles() const {
    return OpenTable(idxdata::EIdxTableFiles, rec::CFileRecord());
}

const COwnerList& CVolumeCatalogue::Owners() {
    if (!m_owners) {
        idxdata::CSeqTableReader table = OpenTable(idxdata::EIdxTableOwners, rec::COwnerRecord());
        m_owners.emplace(table);
    }
    return *m_owners;
}

CFolderPaths& CVolumeCatalogue::Folders() {
    if (!m_folders) {
        idxdata::CSeqTableReader table = OpenTable(idxdata::EIdxTableDirs, rec::CDirRecord());
        m_folders.emplace(table);
    }
    return *m_folders;
}

VolumeList LoadVolumes(std::u16string_view dataPath) {
    const auto summary = mtf::CMtfOpenedMetaFile::Open(frame::CombinePath(dataPath, u"summary.txt"),
                                                       mtf::EMtfOpenMode::EMtfLoad);
    VolumeList volumes;
    std::unordered_map<std::u16string, std::shared_ptr<CVolumeCatalogue>> loaded;
    for (const mtf::CMtfListedAttr& volume : summary->Tree().ListAllAttrs()) {
        if (!volume.value.empty()) {
            const std::u16string path = frame::CombinePath(dataPath, volume.value);
            std::shared_ptr<CVolumeCatalogue>& catalogue = loaded[platform::FoldFileName(path)];
            if (!catalogue) {
                catalogue = std::make_shared<CVolumeCatalogue>(path);
            }
            volumes.push_back({volume.path, LetterOf(volume.path) + u":\\", catalogue});
        }
    }
    return volumes;
}

}  // namespace tdf
