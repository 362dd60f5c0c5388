// The volumes of a binary data search.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/streams/buff_file_reader.h"
#include "idxdata/tables/seq_table_reader.h"
#include "tdf/binary_search/folder_paths.h"
#include "tdf/binary_search/owner_filter.h"
#include "tdf/binary_search/packed_names.h"

namespace tdf {

// A loaded index data file and its tables. A table is read once, at the first call that
// needs it; a call that needs a damaged table fails every time, with the messages of the
// format. One thread at a time.
class CVolumeCatalogue {
public:
    // Loads the file. Throws what CBuffFileReader::Open throws.
    explicit CVolumeCatalogue(std::u16string_view path);
    CVolumeCatalogue(const CVolumeCatalogue&) = delete;
    CVolumeCatalogue& operator=(const CVolumeCatalogue&) = delete;

    const COwnerList& Owners();
    CFolderPaths& Folders();
    // The Files table at its first record.
    idxdata::CSeqTableReader OpenFiles() const;
    // The names of a Files table that can be read to its end; null for a damaged one.
    const CPackedNames* Names() const noexcept { return m_names.get(); }

private:
    idxdata::CSeqTableReader OpenTable(idxdata::EIdxTable table,
                                       const idxdata::IRecord& layout) const;
    void IndexNames();

    std::shared_ptr<idxdata::CBuffFileReader> m_reader;
    std::optional<COwnerList> m_owners;
    std::optional<CFolderPaths> m_folders;
    std::unique_ptr<const CPackedNames> m_names;
};

// A volume of a restore point. Volumes with equal paths share one catalogue.
struct Volume {
    std::u16string key;
    std::u16string pathPrefix;  // "C:\": of every path in the volume
    std::shared_ptr<CVolumeCatalogue> catalogue;
};
using VolumeList = std::vector<Volume>;

// Loads the index data files that the attributes of "summary.txt" in `dataPath` name, in
// the order in which that meta-file lists them; the attribute is the volume's key. The volume's
// letter is the character after the first dot of the key, or the first character of a key without
// a dot. Throws what meta-files and CVolumeCatalogue throw.
VolumeList LoadVolumes(std::u16string_view dataPath);

}  // namespace tdf
