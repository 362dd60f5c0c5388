#include "idxdata/tables/file_record_cursor.h"

namespace idxdata {

void FileRecordView::AppendNameTo(std::u16string& text) const {
    const std::size_t before = text.size();
    text.resize(before + nameLength);
    std::memcpy(text.data() + before, nameBytes, std::size_t{nameLength} * 2);
}

bool CFileRecordCursor::Next(FileRecordView& view) {
    if (m_table.IsEnd()) {
        return false;
    }
    if (!NextInWindow(view) && !(Refill() && NextInWindow(view))) {
        NextThroughRecord(view);
    }
    m_table.CountRecord();
    return true;
}

// False when no whole record lies in the window.
bool CFileRecordCursor::NextInWindow(FileRecordView& view) {
    const auto left = static_cast<std::size_t>(m_end - m_at);
    if (left < FileRecordView::kFixedSize) {
        return false;
    }
    const std::size_t nameSize = std::size_t{text::LoadLittle<std::uint32_t>(m_at)} * 2;
    if (left - FileRecordView::kFixedSize < nameSize) {
        return false;
    }
    view = ViewFileRecord(m_at);
    m_at += FileRecordView::kFixedSize + nameSize;
    return true;
}

// Gives the reader back what was read and takes a new window; false when that does not
// show more than before.
bool CFileRecordCursor::Refill() {
    const auto left = static_cast<std::size_t>(m_end - m_at);
    m_table.Reader().SkipBytes(static_cast<std::size_t>(m_at - m_start));
    const std::span<const std::byte> window = m_table.Reader().Window(IReader::kLargestWindow);
    m_start = m_at = window.data();
    m_end = window.data() + window.size();
    return window.size() > left;
}

// The reader stands at the record: Refill came before.
void CFileRecordCursor::NextThroughRecord(FileRecordView& view) {
    m_start = m_at = m_end = nullptr;
    m_record.Deserialize(m_table.Reader());
    view.nameBytes = reinterpret_cast<const std::byte*>(m_record.FileName.data());
    view.nameLength = static_cast<std::uint32_t>(m_record.FileName.size());
    view.dirIndex = m_record.DirIndex;
    view.ownerIndex = m_record.OwnerIndex;
    view.modifyTime = m_record.ModifyTime;
    view.size = m_record.Size;
}

}  // namespace idxdata
