// Reads the Files table in place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "idxdata/tables/seq_table_reader.h"
#include "text/unaligned.h"

namespace idxdata {

// One file record in memory. The name can have any alignment.
struct FileRecordView {
    static constexpr std::size_t kFixedSize = rec::CFileRecord::kFixedSize;

    const std::byte* nameBytes;
    std::uint32_t nameLength;  // code units
    std::uint32_t ownerIndex;
    std::int64_t dirIndex;
    std::int64_t modifyTime;  // ticks
    std::int64_t size;        // bytes

    void AppendNameTo(std::u16string& text) const;
};

// Decodes a complete record at any address.
inline FileRecordView ViewFileRecord(const std::byte* record) noexcept {
    FileRecordView view;
    view.nameLength = text::LoadLittle<std::uint32_t>(record);
    view.nameBytes = record + 4;
    const std::byte* fields = view.nameBytes + std::size_t{view.nameLength} * 2;
    view.dirIndex = text::LoadLittle<std::int64_t>(fields);
    view.ownerIndex = text::LoadLittle<std::uint32_t>(fields + 8);
    view.modifyTime = text::LoadLittle<std::int64_t>(fields + 12);
    view.size = text::LoadLittle<std::int64_t>(fields + 20);
    return view;
}

// Reads a Files table from the reader's buffer: the same records and the same failures as
// CSeqTableReader::ReadRecord, without a copy of each name and a call for each field. A
// record that is not complete in the buffer is read as a CFileRecord.
class CFileRecordCursor {
public:
    // Starts at the table's next record. `table` must outlive the cursor.
    explicit CFileRecordCursor(CSeqTableReader& table) : m_table(table) {}

    // False at the end of the table. The view is valid until the next call.
    bool Next(FileRecordView& view);

private:
    bool NextInWindow(FileRecordView& view);
    bool Refill();
    void NextThroughRecord(FileRecordView& view);

    CSeqTableReader& m_table;
    const std::byte* m_at = nullptr;     // the next record, in the reader's window
    const std::byte* m_end = nullptr;    // end of the window
    const std::byte* m_start = nullptr;  // start of the window
    rec::CFileRecord m_record;
};

}  // namespace idxdata
