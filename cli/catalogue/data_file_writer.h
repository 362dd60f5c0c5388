#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/catalogue/temporary_file.h"
#include "idxdata/streams/file_writer.h"
#include "idxdata/tables/records.h"

namespace zorel::cli {

// Writes the data file of one volume (doc/index-data-file.md). File records are written at
// once; folders and owners are kept in memory until Complete. Folders and owners have indices
// from 0 in the order in which they are added; folder 0 is the root.
//
// The file is written under a temporary name, which Commit replaces by its own; without
// Commit no file is left. Failures are CCommandError and std::system_error with the path.
class CDataFileWriter {
public:
    explicit CDataFileWriter(const std::string& path);

    // The name must not be empty: an empty name marks the root.
    std::int64_t AddFolder(std::u16string name, std::int64_t parent);
    std::uint32_t AddOwner(rec::COwnerRecord owner);
    void AddFile(const rec::CFileRecord& file);
    // Complete, then Commit.
    void Finish();
    // Writes the rest and closes the file.
    void Complete();
    void Commit();

    std::int64_t FolderCount() const { return static_cast<std::int64_t>(m_folders.size()); }
    std::int64_t FileCount() const { return m_fileCount; }
    std::uint32_t OwnerCount() const { return static_cast<std::uint32_t>(m_owners.size()); }
    const std::string& TemporaryPath() const { return m_file.Path(); }

private:
    // Offsets of two fields of a table header.
    struct HeaderFields {
        std::int64_t nextTable;
        std::int64_t recordCount;
    };

    HeaderFields WriteHeader(idxdata::EIdxTable table, const idxdata::IRecord& layout,
                             std::int64_t records);
    template <class Record>
    void WriteTable(idxdata::EIdxTable table, const std::vector<Record>& records,
                    HeaderFields& previous);
    void Overwrite(std::int64_t offset, std::int64_t value);

    std::string m_path;
    CTemporaryFile m_file;
    idxdata::CFileWriter m_writer;
    HeaderFields m_filesHeader{};
    std::int64_t m_fileCount = 0;
    std::vector<rec::CDirRecord> m_folders;
    std::vector<rec::COwnerRecord> m_owners;
};

}  // namespace zorel::cli
