// Finds one table of an index data file and reads its records.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "idxdata/streams/streams.h"
#include "idxdata/tables/records.h"

namespace idxdata {

// Follows the chain of tables from the reader's position to the wanted one, checks its
// layout against a record class, then reads its records in order:
//
//     CSeqTableReader table(reader, EIdxTableDirs, record);
//     while (!table.IsEnd()) table.ReadRecord(record);
//
// Throws CExc with the messages of the format. An object whose construction failed cannot
// be used. A chain that returns to an offset ends as if the table were missing. Of a record
// count that is too large, the first 256 records after the end of the file are read as the
// reader reads past the end; the next one throws CExc (E_FAIL).
class CSeqTableReader {
public:
    // Opens the file with a CFileReader of its own.
    CSeqTableReader(std::u16string_view path, EIdxTable table, const IRecord& layout);
    // Starts at the reader's current position.
    CSeqTableReader(std::shared_ptr<IReader> reader, EIdxTable table, const IRecord& layout);

    void ReadRecord(IRecord& record);
    bool IsEnd() const noexcept { return m_next >= m_count; }

    // A count for which memory can be reserved: the one that the table states, unless the file
    // cannot hold as many records. 0 for a negative count.
    std::uint64_t RecordCount() const noexcept;
    IReader& Reader() const noexcept { return *m_reader; }
    // For cursors that read records from the reader themselves.
    void CountRecord() noexcept { ++m_next; }

private:
    void Locate(EIdxTable table);
    void CheckLayout(const IRecord& layout);

    std::shared_ptr<IReader> m_reader;
    std::int64_t m_count = 0;      // as the table states it; a negative count reads as 0
    std::uint64_t m_maxCount = 0;  // records that the file can hold
    std::int64_t m_next = 0;       // position of the record that is read next
    int m_excessCount = 0;         // records read after the end of the file
};

}  // namespace idxdata
