#include "idxdata/streams/stream_file_reader.h"

#include <utility>

#include "frame/errors.h"
#include "idxdata/streams/buff_file_reader.h"

namespace idxdata {

void CStreamFileReader::Open(std::u16string_view path) {
    std::u16string copy(path);  // before anything changes: it can throw
    if (!m_source.Open(path)) {
        throw frame::CWin32Exc(CBuffFileReader::kOpenFailure, frame::CWin32Exc::kLastError);
    }
    m_path = std::move(copy);
}

void CStreamFileReader::Fetch(void* target, std::size_t length) {
    std::size_t taken = 0;
    if (!m_source.Read(target, length, taken)) {
        throw frame::CWin32Exc(CBuffFileReader::kReadFailure, frame::CWin32Exc::kLastError);
    }
    if (taken < length) {
        throw frame::CExc(kPastEndMessage, frame::kFail);
    }
}

void CStreamFileReader::ReadString(std::u16string& text) {
    const std::uint64_t bytes = std::uint64_t{ReadDWord()} * 2;
    if (bytes > Remaining()) {
        throw frame::CExc(kPastEndMessage, frame::kFail);
    }
    text.resize(static_cast<std::size_t>(bytes / 2));
    Fetch(text.data(), static_cast<std::size_t>(bytes));
}

void CStreamFileReader::SetCurFilePos(std::int64_t position) {
    const std::uint64_t size = static_cast<std::uint64_t>(m_source.Position()) + Remaining();
    if (static_cast<std::uint64_t>(position) > size) {
        position = CBuffFileReader::AcceptedPosition(position);
    }
    if (!m_source.Seek(position)) {
        throw frame::CWin32Exc(CBuffFileReader::kReadFailure, frame::CWin32Exc::kLastError);
    }
}

void CStreamFileReader::ReadPrefix(char* buffer) {
    if (buffer == nullptr) {
        throw frame::CExc(kNullPrefixMessage, frame::kInvalidArg);
    }
    Fetch(buffer, kPrefixSize);
}

std::uint64_t CStreamFileReader::Remaining() {
    std::uint64_t bytes = 0;
    if (!m_source.Remaining(bytes)) {
        throw frame::CWin32Exc(CBuffFileReader::kSizeFailure, frame::CWin32Exc::kLastError);
    }
    return bytes;
}

}  // namespace idxdata
