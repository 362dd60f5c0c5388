#include "idxdata/streams/file_reader.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "frame/errors.h"
#include "platform/errors.h"
#include "text/unaligned.h"

namespace idxdata {

namespace {

constexpr std::size_t kBufferSize = 256 * 1024;  // bytes
static_assert(kBufferSize >= IReader::kMaxWindow);

// A string with a larger count must be complete in the file. A shorter one is returned even
// when the file ends before it.
constexpr std::uint32_t kUncheckedUnits = 64 * 1024;

constexpr char16_t kReadStringFailure[] = u"Cannot read file in CFileReader::ReadString";

}  // namespace

bool CFileReader::Fill(std::size_t wanted) {
    if (!m_buffer) {
        m_buffer = platform::AllocateBlock(kBufferSize);
    }
    if (m_begin > 0) {
        std::memmove(m_buffer.get(), m_buffer.get() + m_begin, Buffered());
        m_end -= std::exchange(m_begin, 0);
    }
    while (Buffered() < wanted && !m_atEnd) {
        std::size_t got = 0;
        if (!platform::ReadFile(m_file.Get(), m_buffer.get() + m_end, kBufferSize - m_end, got)) {
            return false;
        }
        m_atEnd = got == 0;
        m_end += got;
        m_filePos += static_cast<std::int64_t>(got);
    }
    return true;
}

std::size_t CFileReader::Fetch(void* target, std::size_t length, const char16_t* failure) {
    auto* out = static_cast<std::byte*>(target);
    std::size_t copied = 0;
    while (copied < length) {
        if (Buffered() == 0) {
            if (!Fill(1)) {
                throw frame::CWin32Exc(failure, frame::CWin32Exc::kLastError);
            }
            if (Buffered() == 0) {
                break;
            }
        }
        const std::size_t piece = std::min(Buffered(), length - copied);
        std::memcpy(out + copied, m_buffer.get() + m_begin, piece);
        m_begin += piece;
        copied += piece;
    }
    m_readPastEnd = m_readPastEnd || copied < length;
    return copied;
}

template <class Number>
Number CFileReader::ReadNumber(const char16_t* failure) {
    if (Buffered() >= sizeof(Number)) {
        const auto value = text::LoadLittle<Number>(m_buffer.get() + m_begin);
        m_begin += sizeof(Number);
        return value;
    }
    Number value = 0;
    Fetch(&value, sizeof value, failure);
    return value;
}

std::uint16_t CFileReader::ReadWord() {
    return ReadNumber<std::uint16_t>(u"Cannot read file in CFileReader::ReadWord");
}

std::uint32_t CFileReader::ReadDWord() {
    return ReadNumber<std::uint32_t>(u"Cannot read file in CFileReader::ReadDWord");
}

std::int64_t CFileReader::ReadLongLong() {
    return ReadNumber<std::int64_t>(u"Cannot read file in CFileReader::ReadLongLong");
}

void CFileReader::ReadString(std::u16string& text) {
    const auto count = ReadNumber<std::uint32_t>(kReadStringFailure);
    if (count > kUncheckedUnits && std::uint64_t{count} * 2 > Remaining()) {
        throw frame::CWin32Exc(kReadStringFailure, platform::win32err::kHandleEof);
    }
    text.resize(count);
    const std::size_t bytes = std::size_t{count} * 2;
    const std::size_t got = Fetch(text.data(), bytes, kReadStringFailure);
    std::memset(reinterpret_cast<std::byte*>(text.data()) + got, 0, bytes - got);
}

void CFileReader::Open(std::u16string_view path) {
    platform::FileHandle handle =
        platform::CreateFileW(path, platform::kGenericRead, platform::kShareRead,
                              platform::kOpenExisting, platform::kAttributeNormal);
    if (handle == platform::kInvalidFileHandle) {
        throw frame::CWin32Exc(u"Cannot open file CFileReader::Open", frame::CWin32Exc::kLastError);
    }
    m_file.Reset(handle);
    m_path = path;
    DropBuffer();
    m_filePos = 0;
}

void CFileReader::DropBuffer() noexcept {
    m_begin = m_end = 0;
    m_atEnd = m_readPastEnd = false;
}

void CFileReader::Close() {
    if (m_file) {
        m_file.Reset();
        if (m_deleteOnClose && !m_path.empty()) {
            platform::DeleteFileW(m_path);
        }
        m_path.clear();
    }
    DropBuffer();
}

std::int64_t CFileReader::GetCurFilePos() {
    std::int64_t position = 0;
    if (!platform::SetFilePointerEx(m_file.Get(), 0, &position, platform::EMoveMethod::Current)) {
        // Names CFileWriter. Kept for compatibility.
        throw frame::CWin32Exc(u"Error in CFileWriter::GetCurFilePos",
                               frame::CWin32Exc::kLastError);
    }
    return position - static_cast<std::int64_t>(Buffered());
}

void CFileReader::SetCurFilePos(std::int64_t position) {
    const auto buffered = static_cast<std::int64_t>(m_end);
    if (m_file && position >= m_filePos - buffered && position <= m_filePos) {
        m_begin = static_cast<std::size_t>(position - (m_filePos - buffered));
        m_atEnd = m_readPastEnd = false;
        return;
    }
    if (!platform::SetFilePointerEx(m_file.Get(), position, nullptr,
                                    platform::EMoveMethod::Begin)) {
        throw frame::CWin32Exc(u"Error in CFileReader::SetCurFilePos",
                               frame::CWin32Exc::kLastError);
    }
    DropBuffer();
    m_filePos = position;
}

void CFileReader::ReadPrefix(char* buffer) {
    if (buffer == nullptr) {
        throw frame::CExc(u"Invalid argument in CFileReader::ReadPrefix", frame::kInvalidArg);
    }
    Fetch(buffer, kPrefixSize, u"Cannot read file in CFileReader::ReadPrefix");
}

std::uint64_t CFileReader::Remaining() {
    std::int64_t size = 0;
    if (!platform::GetFileSizeEx(m_file.Get(), size)) {
        return Buffered();
    }
    const std::int64_t position = m_filePos - static_cast<std::int64_t>(Buffered());
    return size > position ? static_cast<std::uint64_t>(size - position) : 0;
}

std::span<const std::byte> CFileReader::Window(std::size_t wanted) {
    if (Buffered() < wanted && !Fill(std::min(wanted, kMaxWindow))) {
        // The buffered bytes stay readable. The read of the next field fails again and throws.
        return {m_buffer.get() + m_begin, Buffered()};
    }
    return {m_buffer.get() + m_begin, Buffered()};
}

void CFileReader::SkipBytes(std::size_t count) {
    m_begin += count;
}

bool CFileReader::ReadTextString(std::u16string& line) {
    constexpr char16_t kByteOrderMark = u'\uFEFF';
    line.clear();
    for (;;) {
        char16_t unit = 0;
        if (Buffered() >= sizeof unit) {
            unit = text::LoadLittle<char16_t>(m_buffer.get() + m_begin);
            m_begin += sizeof unit;
        } else if (Fetch(&unit, sizeof unit, u"Cannot read file in CFileReader::ReadTextString.") ==
                   0) {
            return !line.empty();
        }
        if (unit == u'\n') {
            return true;
        }
        if (unit != u'\r' && unit != kByteOrderMark) {
            line.push_back(unit);
        }
    }
}

}  // namespace idxdata
