// The text data files of one volume.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "idxdata/streams/stream_file_reader.h"
#include "idxdata/tables/file_record_cursor.h"
#include "idxdata/tables/folder_table.h"
#include "tdf/generation/folder_texts.h"
#include "tdf/generation/owner_files.h"
#include "tdf/generation/record_prefix_formatter.h"
#include "tdf/generation/tdf_generator.h"
#include "tdf/generation/tdf_owners.h"
#include "tdf/naming/crc_path.h"

namespace tdf {

// Reads the folder and owner tables of a volume, then writes a line for each file record.
// For one run on one thread; `settings` must outlive it.
class CVolumeGenerator {
public:
    CVolumeGenerator(const TdfSettings& settings, std::u16string_view volumeName,
                     const OwnerFilesLimits& limits = {})
        : m_settings(settings),
          m_volumeName(volumeName),
          m_limits(limits),
          m_keyNames(settings.additionalParts, settings.separators) {}

    // `dataFile` is the volume's index data file.
    void Run(std::u16string_view dataFile);

private:
    idxdata::CSeqTableReader OpenTable(idxdata::EIdxTable table, const idxdata::IRecord& layout);
    void ReadTables();
    void ReadFiles(COwnerFiles& files);
    void WriteRecord(COwnerFiles& files, const idxdata::FileRecordView& record, std::int64_t index);
    void WriteRecordLine(COwnerFiles& files, const idxdata::FileRecordView& record,
                         std::int64_t index);
    void WriteKeyLines(COwnerFiles& files, const idxdata::FileRecordView& record,
                       std::int64_t index);
    void WriteKeyLine(COwnerFiles& files, std::uint32_t owner, EKeyTag tag,
                      std::u16string_view fingerprint, std::u16string_view text);
    void WriteOwnersMap(COwnerFiles& files);

    const TdfSettings& m_settings;
    std::u16string m_volumeName;
    OwnerFilesLimits m_limits;
    std::shared_ptr<idxdata::CStreamFileReader> m_reader;
    std::optional<idxdata::CFolderTable> m_folders;
    std::optional<CTdfOwners> m_owners;
    std::optional<CFolderTexts> m_folderTexts;
    CRecordPrefixFormatter m_recordPrefix;
    CKeyNameSplitter m_keyNames;
    std::u16string m_name;  // of the record being written
};

}  // namespace tdf
