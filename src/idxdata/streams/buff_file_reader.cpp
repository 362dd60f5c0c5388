#include "idxdata/streams/buff_file_reader.h"

#include <algorithm>
#include <cstring>

#include "frame/errors.h"
#include "platform/errors.h"
#include "platform/files.h"
#include "text/unaligned.h"

namespace idxdata {

namespace {

constexpr std::int64_t kMaxFileSize = 4294967295;  // bytes

void ThrowWin32(const char16_t* message, std::uint32_t code = frame::CWin32Exc::kLastError) {
    throw frame::CWin32Exc(message, code);
}

}  // namespace

void CBuffFileReader::Open(std::u16string_view path) {
    if (m_opened) {
        return;
    }
    const platform::CFileHandle file(
        platform::CreateFileW(path, platform::kGenericRead, platform::kShareRead,
                              platform::kOpenExisting, platform::kAttributeNormal));
    if (!file) {
        ThrowWin32(kOpenFailure);
    }
    std::int64_t size = 0;
    if (!platform::GetFileSizeEx(file.Get(), size)) {
        ThrowWin32(kSizeFailure);
    }
    if (size > kMaxFileSize) {
        ThrowWin32(u"Cannot alloc memory CBuffFileReader::Open", platform::win32err::kNotSupported);
    }
    const auto bytes = static_cast<std::size_t>(size);
    platform::CBlockPtr content = platform::AllocateLargeBlock(bytes);
    std::size_t got = 0;
    if (!platform::ReadFile(file.Get(), content.get(), bytes, got)) {
        ThrowWin32(kReadFailure);
    }
    std::memset(content.get() + got, 0, bytes - got);
    m_path = path;
    m_content = std::move(content);
    m_size = bytes;
    m_position = 0;
    m_opened = true;
}

void CBuffFileReader::Close() {
    if (m_opened) {
        m_content.reset();
        m_size = 0;
        m_position = kClosedPosition;
        m_opened = false;
    }
}

const std::byte* CBuffFileReader::Take(std::size_t length) {
    if (length > Rest()) {
        throw frame::CExc(kPastEndMessage, frame::kFail);
    }
    const std::byte* bytes = m_content.get() + m_position;
    m_position += length;
    return bytes;
}

std::uint16_t CBuffFileReader::ReadWord() {
    return text::LoadLittle<std::uint16_t>(Take(2));
}
std::uint32_t CBuffFileReader::ReadDWord() {
    return text::LoadLittle<std::uint32_t>(Take(4));
}
std::int64_t CBuffFileReader::ReadLongLong() {
    return text::LoadLittle<std::int64_t>(Take(8));
}

void CBuffFileReader::ReadString(std::u16string& text) {
    const std::size_t bytes = std::size_t{ReadDWord()} * 2;
    if (bytes == 0) {
        text.clear();
        return;
    }
    const std::byte* units = Take(bytes);
    text.resize(bytes / 2);
    std::memcpy(text.data(), units, bytes);
}

std::uint32_t CBuffFileReader::AcceptedPosition(std::int64_t position) {
    if (position >= static_cast<std::int64_t>(kClosedPosition)) {
        ThrowWin32(u"Cannot set file position CBuffFileReader::SetCurFilePos",
                   platform::win32err::kNotSupported);
    }
    return static_cast<std::uint32_t>(position);
}

void CBuffFileReader::SetCurFilePos(std::int64_t position) {
    m_position = AcceptedPosition(position);
}

void CBuffFileReader::ReadPrefix(char* buffer) {
    if (buffer == nullptr) {
        throw frame::CExc(kNullPrefixMessage, frame::kInvalidArg);
    }
    std::memcpy(buffer, Take(kPrefixSize), kPrefixSize);
}

std::span<const std::byte> CBuffFileReader::Window(std::size_t) {
    const std::size_t rest = Rest();
    return {rest == 0 ? nullptr : m_content.get() + m_position, rest};
}

}  // namespace idxdata
