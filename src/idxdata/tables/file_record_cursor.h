// Reads the Files table without copying names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "idxdata/tables/seq_table_reader.h"
#include "text/unaligned.h"

namespace idxdata {

// One file record where it lies. The name's bytes may stand at an odd address.
struct FileRecordView {
    static constexpr std::size_t kFixedSize = 4 + 8 + 4 + 8 + 8;  // bytes beside the name

    const std::byte* nameBytes;
    std::uint32_t nameLength;  // code units
    std::uint32_t ownerIndex;
    std::int64_t dirIndex;
    std::int64_t modifyTime;  // ticks
    std::int64_t size;        // bytes

    char16_t NameUnit(std::size_t i) const noexcept { return text::LoadUnit(nameBytes, i); }
    void AppendNameTo(std::u16string& text) const;
};

// The record at an address where a whole one lies.
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

// Steps through a Files table over the reader's buffered bytes: the same records, in the
// same order and with the same failures as CSeqTableReader::ReadRecord gives, without a
// copy or a call per field. Records that do not lie whole in the buffer go through
// CFileRecord.
class CFileRecordCursor {
public:
    // `table` stands at its first unread record and must outlive the cursor.
    explicit CFileRecordCursor(CSeqTableReader& table) : m_table(table) {}

    // False at the end of the table. The view is valid until the next call.
    bool Next(FileRecordView& view);

private:
    bool NextInWindow(FileRecordView& view);
    bool Refill();
    void NextThroughRecord(FileRecordView& view);

    CSeqTableReader& m_table;
    const std::byte* m_at = nullptr;     // next unread byte of the window
    const std::byte* m_end = nullptr;    // end of the window
    const std::byte* m_start = nullptr;  // first byte not yet reported to the reader
    rec::CFileRecord m_record;
};

}  // namespace idxdata
