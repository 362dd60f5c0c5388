// One volume of a binary data search.
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

// A loaded index data file and what was read from it. Tables are read when they are first
// asked for, and once; a table that cannot be read fails each time anew, with the
// messages of the format. One thread at a time.
class CVolumeCatalogue {
public:
    // Loads the file. `key` names the volume: its letter stands behind the first dot, or
    // in front when there is none. Throws what CBuffFileReader::Open throws.
    CVolumeCatalogue(std::u16string_view key, std::u16string_view path);
    CVolumeCatalogue(const CVolumeCatalogue&) = delete;
    CVolumeCatalogue& operator=(const CVolumeCatalogue&) = delete;

    const std::u16string& Key() const noexcept { return m_key; }
    const COwnerList& Owners();
    CFolderPaths& Folders();
    // The Files table, standing at its first record.
    idxdata::CSeqTableReader OpenFiles() const;
    // Of a Files table that can be read to its end; null otherwise.
    const CPackedNames* Names() const noexcept { return m_names.get(); }

private:
    idxdata::CSeqTableReader OpenTable(idxdata::EIdxTable table,
                                       const idxdata::IRecord& layout) const;
    void IndexNames();

    std::u16string m_key;
    std::shared_ptr<idxdata::CBuffFileReader> m_reader;
    std::optional<COwnerList> m_owners;
    std::optional<CFolderPaths> m_folders;
    std::unique_ptr<const CPackedNames> m_names;
};

using VolumeList = std::vector<std::unique_ptr<CVolumeCatalogue>>;

// Loads the index data files that the attributes of "summary.txt" in `dataPath` name, in
// the order in which that meta-file lists them; the attribute is the volume's key. Throws
// what meta-files and CVolumeCatalogue throw.
VolumeList LoadVolumes(std::u16string_view dataPath);

}  // namespace tdf
