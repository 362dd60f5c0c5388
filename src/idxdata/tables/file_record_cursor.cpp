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
    if (NextInWindow(view) || (Refill() && NextInWindow(view))) {
        m_table.CountRecord();
    } else {
        NextThroughRecord(view);
    }
    return true;
}

// Returns false when the window contains no complete record.
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

// Moves the reader to the next record and gets a new window. Returns false when the window
// does not contain more of the record than before.
bool CFileRecordCursor::Refill() {
    const auto left = static_cast<std::size_t>(m_end - m_at);
    m_table.Reader().SkipBytes(static_cast<std::size_t>(m_at - m_start));
    const std::span<const std::byte> window = m_table.Reader().Window(IReader::kMaxWindow);
    m_start = m_at = window.data();
    m_end = window.data() + window.size();
    return window.size() > left;
}

// Refill was called before, so the reader's position is that of the record.
void CFileRecordCursor::NextThroughRecord(FileRecordView& view) {
    m_start = m_at = m_end = nullptr;
    m_table.ReadRecord(m_record);
    view.nameBytes = reinterpret_cast<const std::byte*>(m_record.FileName.data());
    view.nameLength = static_cast<std::uint32_t>(m_record.FileName.size());
    view.dirIndex = m_record.DirIndex;
    view.ownerIndex = m_record.OwnerIndex;
    view.modifyTime = m_record.ModifyTime;
    view.size = m_record.Size;
}

}  // namespace idxdata
