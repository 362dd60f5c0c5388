// Finds one table of an index data file and hands out its records.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "idxdata/streams/streams.h"
#include "idxdata/tables/records.h"

namespace idxdata {

// Walks the chain of tables from the reader's position to the wanted one, checks its
// layout against a record class, then reads its records in order:
//
//     CSeqTableReader table(reader, EIdxTableDirs, record);
//     while (!table.IsEnd()) table.ReadRecord(record);
//
// Throws CExc with the messages of the format; a reader whose construction failed is of
// no further use. A chain that comes back to an offset ends as if the table were missing.
// A record count beyond anything that the file can hold is refused; a smaller lie is not
// noticed: what lies behind the end reads as the reader reads there.
class CSeqTableReader {
public:
    // Opens the file with a CFileReader of its own.
    CSeqTableReader(std::u16string_view path, EIdxTable table, const IRecord& layout);
    // Starts at the reader's current position.
    CSeqTableReader(std::shared_ptr<IReader> reader, EIdxTable table, const IRecord& layout);

    void ReadRecord(IRecord& record);
    bool IsEnd() const noexcept { return m_next >= m_count; }

    // Position of the record that ReadRecord hands out next.
    std::int64_t NextIndex() const noexcept { return m_next; }
    std::int64_t RecordCount() const noexcept { return m_count; }
    IReader& Reader() const noexcept { return *m_reader; }
    // For cursors that read records off the reader themselves.
    void CountRecord() noexcept { ++m_next; }

private:
    void Locate(EIdxTable table);
    void CheckLayout(const IRecord& layout);
    void CheckCount(std::uint64_t smallestRecord) const;

    std::shared_ptr<IReader> m_reader;
    std::int64_t m_count = 0;
    std::int64_t m_next = 0;
};

}  // namespace idxdata
