#include "cli/info/volume_facts.h"

#include <algorithm>
#include <filesystem>
#include <memory>

#include "cli/command_line/paths.h"
#include "cli/command_line/with_subject.h"
#include "idxdata/streams/stream_file_reader.h"
#include "idxdata/tables/file_record_cursor.h"

namespace zorel::cli {

namespace {

using Reader = std::shared_ptr<idxdata::IReader>;

idxdata::CSeqTableReader OpenTable(const Reader& reader, idxdata::EIdxTable table,
                                   const idxdata::IRecord& layout) {
    reader->SetCurFilePos(0);
    return {reader, table, layout};
}

template <class Record>
std::int64_t CountRecords(const Reader& reader, idxdata::EIdxTable id) {
    Record record;
    idxdata::CSeqTableReader table = OpenTable(reader, id, record);
    std::int64_t count = 0;
    for (; !table.IsEnd(); ++count) {
        table.ReadRecord(record);
    }
    return count;
}

void ReadFiles(const Reader& reader, VolumeFacts& facts) {
    idxdata::CSeqTableReader table = OpenTable(reader, idxdata::EIdxTableFiles, rec::CFileRecord());
    idxdata::CFileRecordCursor cursor(table);
    std::uint64_t bytes = 0;  // wraps around, as the library's sum does
    for (idxdata::FileRecordView file{}; cursor.Next(file); ++facts.files) {
        bytes += static_cast<std::uint64_t>(file.size);
        facts.oldest = std::min(facts.oldest.value_or(file.modifyTime), file.modifyTime);
        facts.newest = std::max(facts.newest.value_or(file.modifyTime), file.modifyTime);
    }
    facts.bytes = static_cast<std::int64_t>(bytes);
}

}  // namespace

VolumeFacts ReadVolumeFacts(const std::string& dataFile) {
    VolumeFacts facts;
    WithSubject(dataFile, [&] {
        const auto reader = std::make_shared<idxdata::CStreamFileReader>();
        reader->Open(AbsolutePath(dataFile));
        facts.dataFileSize = static_cast<std::int64_t>(reader->Remaining());
        ReadFiles(reader, facts);
        const auto folders = CountRecords<rec::CDirRecord>(reader, idxdata::EIdxTableDirs);
        facts.folders = std::max<std::int64_t>(folders - 1, 0);
        facts.owners = CountRecords<rec::COwnerRecord>(reader, idxdata::EIdxTableOwners);
    });
    return facts;
}

}  // namespace zorel::cli
