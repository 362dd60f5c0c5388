#include "idxdata/streams/file_reader.h"

#include <cstring>
#include <utility>

#include "frame/errors.h"
#include "platform/errors.h"
#include "text/unaligned.h"

namespace idxdata {

namespace {

// A string with a larger count must be complete in the file. A shorter one is returned even
// when the file ends before it.
constexpr std::uint32_t kUncheckedUnits = 64 * 1024;

constexpr char16_t kReadStringFailure[] = u"Cannot read file in CFileReader::ReadString";

}  // namespace

std::size_t CFileReader::Fetch(void* target, std::size_t length, const char16_t* failure) {
    std::size_t taken = 0;
    if (!m_source.Read(target, length, taken)) {
        throw frame::CWin32Exc(failure, frame::CWin32Exc::kLastError);
    }
    return taken;
}

template <class Number>
Number CFileReader::ReadNumber(const char16_t* failure) {
    if (m_source.Buffered() >= sizeof(Number)) {
        const auto value = text::LoadLittle<Number>(m_source.Bytes());
        m_source.Skip(sizeof(Number));
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
    if (count > kUncheckedUnits) {
        std::uint64_t rest = 0;
        if (!m_source.Remaining(rest)) {
            throw frame::CWin32Exc(kReadStringFailure, frame::CWin32Exc::kLastError);
        }
        if (std::uint64_t{count} * 2 > rest) {
            throw frame::CWin32Exc(kReadStringFailure, platform::win32err::kHandleEof);
        }
    }
    text.resize(count);
    const std::size_t bytes = std::size_t{count} * 2;
    const std::size_t got = Fetch(text.data(), bytes, kReadStringFailure);
    std::memset(reinterpret_cast<std::byte*>(text.data()) + got, 0, bytes - got);
}

void CFileReader::Open(std::u16string_view path) {
    std::u16string copy(path);  // before anything changes: it can throw
    if (!m_source.Open(path)) {
        throw frame::CWin32Exc(u"Cannot open file CFileReader::Open", frame::CWin32Exc::kLastError);
    }
    m_path = std::move(copy);
}

void CFileReader::Close() {
    if (m_source.IsOpen()) {
        m_source.Close();
        if (m_deleteOnClose && !m_path.empty()) {
            platform::DeleteFileW(m_path);
        }
        m_path.clear();
    }
}

std::int64_t CFileReader::GetCurFilePos() {
    if (!m_source.IsOpen()) {
        // Names CFileWriter. Kept for compatibility.
        throw frame::CWin32Exc(u"Error in CFileWriter::GetCurFilePos",
                               platform::win32err::kInvalidHandle);
    }
    return m_source.Position();
}

void CFileReader::SetCurFilePos(std::int64_t position) {
    if (!m_source.Seek(position)) {
        throw frame::CWin32Exc(u"Error in CFileReader::SetCurFilePos",
                               frame::CWin32Exc::kLastError);
    }
}

void CFileReader::ReadPrefix(char* buffer) {
    if (buffer == nullptr) {
        throw frame::CExc(kNullPrefixMessage, frame::kInvalidArg);
    }
    Fetch(buffer, kPrefixSize, u"Cannot read file in CFileReader::ReadPrefix");
}

std::uint64_t CFileReader::Remaining() {
    std::uint64_t bytes = 0;
    return m_source.Remaining(bytes) ? bytes : m_source.Buffered();
}

bool CFileReader::ReadTextString(std::u16string& line) {
    constexpr char16_t kByteOrderMark = u'\uFEFF';
    line.clear();
    for (;;) {
        char16_t unit = 0;
        if (m_source.Buffered() >= sizeof unit) {
            unit = text::LoadLittle<char16_t>(m_source.Bytes());
            m_source.Skip(sizeof unit);
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
