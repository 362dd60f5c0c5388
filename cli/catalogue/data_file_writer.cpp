#include "cli/catalogue/data_file_writer.h"

#include <filesystem>
#include <utility>

#include "ZorelText.h"
#include "cli/command_line/with_subject.h"

namespace zorel::cli {

namespace {

constexpr std::size_t kBufferBytes = 1U << 20;

}  // namespace

CDataFileWriter::CDataFileWriter(const std::string& path)
    : m_path(path), m_file(path), m_writer(kBufferBytes), m_folders(1) {
    WithSubject(m_path, [&] {
        // Others can see the name, so no link is followed.
        m_writer.Create(ToUtf16(std::filesystem::absolute(m_file.Path()).string()),
                        idxdata::CFileWriter::EOtherEntry::Remove);
        m_filesHeader = WriteHeader(idxdata::EIdxTableFiles, rec::CFileRecord(), 0);
    });
}

// The offset of the next table is 0 until Overwrite replaces it.
CDataFileWriter::HeaderFields CDataFileWriter::WriteHeader(idxdata::EIdxTable table,
                                                           const idxdata::IRecord& layout,
                                                           std::int64_t records) {
    constexpr std::uint16_t kMajorVersion = 1;
    constexpr std::uint16_t kMinorVersion = 1;
    constexpr std::uint32_t kSequentialFormat = 0;
    HeaderFields fields{};
    m_writer.WritePrefix("VIFD");
    m_writer.WriteWord(kMajorVersion);
    m_writer.WriteWord(kMinorVersion);
    fields.nextTable = m_writer.GetCurFilePos();
    m_writer.WriteLongLong(0);
    m_writer.WriteDWord(kSequentialFormat);
    m_writer.WriteDWord(table);
    m_writer.WriteDWord(layout.GetFieldCount());
    for (std::uint32_t i = 0; i < layout.GetFieldCount(); ++i) {
        m_writer.WriteWord(static_cast<std::uint16_t>(layout.GetFieldType(i)));
    }
    fields.recordCount = m_writer.GetCurFilePos();
    m_writer.WriteLongLong(records);
    return fields;
}

std::int64_t CDataFileWriter::AddFolder(std::u16string name, std::int64_t parent) {
    rec::CDirRecord& folder = m_folders.emplace_back();
    folder.DirName = std::move(name);
    folder.ParentDirIndex = parent;
    return FolderCount() - 1;
}

std::uint32_t CDataFileWriter::AddOwner(rec::COwnerRecord owner) {
    m_owners.push_back(std::move(owner));
    return OwnerCount() - 1;
}

void CDataFileWriter::AddFile(const rec::CFileRecord& file) {
    WithSubject(m_path, [&] { file.Serialize(m_writer); });
    ++m_fileCount;
}

void CDataFileWriter::Finish() {
    Complete();
    Commit();
}

void CDataFileWriter::Complete() {
    WithSubject(m_path, [&] {
        Overwrite(m_filesHeader.recordCount, m_fileCount);
        HeaderFields previous = m_filesHeader;
        WriteTable(idxdata::EIdxTableDirs, m_folders, previous);
        WriteTable(idxdata::EIdxTableOwners, m_owners, previous);
        m_writer.Close();
    });
}

void CDataFileWriter::Commit() {
    m_file.Commit();
}

template <class Record>
void CDataFileWriter::WriteTable(idxdata::EIdxTable table, const std::vector<Record>& records,
                                 HeaderFields& previous) {
    Overwrite(previous.nextTable, m_writer.GetCurFilePos());
    previous = WriteHeader(table, Record(), static_cast<std::int64_t>(records.size()));
    for (const Record& record : records) {
        record.Serialize(m_writer);
    }
}

void CDataFileWriter::Overwrite(std::int64_t offset, std::int64_t value) {
    const std::int64_t end = m_writer.GetCurFilePos();
    m_writer.SetCurFilePos(offset);
    m_writer.WriteLongLong(value);
    m_writer.SetCurFilePos(end);
}

}  // namespace zorel::cli
