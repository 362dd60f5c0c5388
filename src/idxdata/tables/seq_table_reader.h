// Finds one table of an index data file and reads its records.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "idxdata/streams/streams.h"
#include "idxdata/tables/records.h"

namespace idxdata {

// How a table is read whose file ends before its last record.
enum class EReadMode {
    Forgiving,  // as the reader reads past the end: CFileReader returns zeros
    Strict,     // a record that is not complete is an error: CExc (E_FAIL)
};

// Follows the chain of tables from the reader's position to the wanted one, checks its
// layout against a record class, then reads its records in order:
//
//     CSeqTableReader table(reader, EIdxTableDirs, record);
//     while (!table.IsEnd()) table.ReadRecord(record);
//
// Throws CExc with the messages of the format. An object whose construction failed cannot
// be used. A chain that returns to an offset ends as if the table were missing. A record
// count that exceeds what the rest of the file can hold by more than 256 is refused; a
// smaller excess shows when the records are read.
class CSeqTableReader {
public:
    // Opens the file with a CFileReader of its own.
    CSeqTableReader(std::u16string_view path, EIdxTable table, const IRecord& layout);
    // Starts at the reader's current position.
    CSeqTableReader(std::shared_ptr<IReader> reader, EIdxTable table, const IRecord& layout,
                    EReadMode mode = EReadMode::Forgiving);

    void ReadRecord(IRecord& record);
    bool IsEnd() const noexcept { return m_next >= m_count; }

    // As the table states it; negative for a damaged table, which reads as empty.
    std::int64_t RecordCount() const noexcept { return m_count; }
    IReader& Reader() const noexcept { return *m_reader; }
    // For cursors that read records from the reader themselves.
    void CountRecord() noexcept { ++m_next; }

private:
    void Locate(EIdxTable table);
    void CheckLayout(const IRecord& layout);
    void CheckCount(const IRecord& layout) const;
    void CheckComplete() const;

    std::shared_ptr<IReader> m_reader;
    EReadMode m_mode = EReadMode::Forgiving;
    std::int64_t m_count = 0;
    std::int64_t m_next = 0;  // position of the record that is read next
};

}  // namespace idxdata
