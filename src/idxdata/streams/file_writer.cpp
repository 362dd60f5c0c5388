#include "idxdata/streams/file_writer.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>

#include "frame/errors.h"
#include "platform/errors.h"

namespace idxdata {

namespace {

constexpr char16_t kCreateFailure[] = u"Cannot create file in CFileWriter::Create";
constexpr char16_t kSetTimesFailure[] = u"Cannot set file time in CFileWriter::SetAllFileTimes";
constexpr char16_t kTextNotOpen[] = u"Cannot write in CFileWriter::WriteTextString";
constexpr char16_t kTextFailure[] = u"Cannot write file in CFileWriter::WriteTextString";
constexpr char16_t kLineEnd[] = {u'\r', u'\n'};

[[noreturn]] void FailInvalid(const char16_t* message) {
    throw frame::CExc(message, frame::kInvalidArg);
}

[[noreturn]] void FailWin32(const char16_t* message,
                            std::uint32_t code = frame::CWin32Exc::kLastError) {
    throw frame::CWin32Exc(message, code);
}

platform::CFileHandle Open(std::u16string_view path, std::uint32_t disposition,
                           std::uint32_t flags) {
    return platform::CFileHandle(platform::CreateFileW(path, platform::kGenericWrite,
                                                       platform::kShareRead, disposition, flags));
}

}  // namespace

CFileWriter::~CFileWriter() {
    try {
        Close();
    } catch (const std::exception&) {  // no caller to report it to
    }
}

void CFileWriter::Create(std::u16string_view path, EOtherEntry other) {
    Flush();
    std::u16string copy(path);  // before anything changes: it can throw
    const bool follows = other == EOtherEntry::Open;
    const std::uint32_t flags =
        platform::kAttributeNormal | (follows ? 0 : platform::kFlagNoFollow);
    const bool mayOpen = follows || !platform::LeadsElsewhere(path) || platform::DeleteFileW(path);
    platform::CFileHandle file =
        mayOpen ? Open(path, platform::kCreateAlways, flags) : platform::CFileHandle();
    if (!file) {
        FailWin32(kCreateFailure);
    }
    CloseHandle();
    m_file = std::move(file);
    m_path = std::move(copy);
    m_flags = flags;
    m_times.reset();
    m_position = m_fileSize = 0;
    m_failure = kCreateFailure;
    m_open = true;
}

void CFileWriter::Close() {
    if (!m_open) {
        return;
    }
    m_open = false;
    // Buffer and handle are released even when Flush throws.
    struct CRelease {
        ~CRelease() {
            writer.m_used = 0;
            writer.m_file.Reset();
        }
        CFileWriter& writer;
    } const release{*this};
    Flush();
    CloseHandle();
}

// The system can report a failure of earlier writes at this point.
void CFileWriter::CloseHandle() {
    if (m_file && !platform::CloseHandle(m_file.Detach())) {
        FailWin32(m_failure);
    }
}

void CFileWriter::BeginWrite(const char16_t* notOpen, const char16_t* failure) {
    if (!m_open) {
        FailInvalid(notOpen);
    }
    m_failure = failure;
}

template <class Number>
void CFileWriter::WriteNumber(Number value, const char16_t* notOpen, const char16_t* failure) {
    BeginWrite(notOpen, failure);
    Put(&value, sizeof value);
}

void CFileWriter::WriteWord(std::uint16_t value) {
    WriteNumber(value, u"Cannot write word in CFileWriter::WriteWord",
                u"Cannot write file in CFileWriter::WriteWord");
}

void CFileWriter::WriteDWord(std::uint32_t value) {
    WriteNumber(value, u"Cannot write word in CFileWriter::WriteDWord",
                u"Cannot write file in CFileWriter::WriteDWord");
}

void CFileWriter::WriteLongLong(std::int64_t value) {
    WriteNumber(value, u"Cannot write word in CFileWriter::WriteLongLong",
                u"Cannot write file in CFileWriter::WriteLongLong");
}

void CFileWriter::WriteString(std::u16string_view text) {
    BeginWrite(u"Cannot write in CFileWriter::WriteString",
               u"Cannot write file in CFileWriter::WriteString");
    const auto count = static_cast<std::uint32_t>(text.size());
    MakeRoom(sizeof count + 2 * text.size());
    Put(&count, sizeof count);
    Put(text.data(), 2 * text.size());
}

void CFileWriter::WriteTextString(std::u16string_view text) {
    BeginWrite(kTextNotOpen, kTextFailure);
    MakeRoom(2 * text.size() + sizeof kLineEnd);
    Put(text.data(), 2 * text.size());
    Put(kLineEnd, sizeof kLineEnd);
}

void CFileWriter::WritePrefix(const char* prefix) {
    constexpr const char16_t* kInvalid = u"Invalid argument in CFileWriter::WritePrefix";
    if (prefix == nullptr) {
        FailInvalid(kInvalid);
    }
    if (std::char_traits<char>::length(prefix) != kPrefixSize) {
        FailInvalid(u"Invalid length of prefix CFileWriter::WritePrefix");
    }
    BeginWrite(kInvalid, u"Cannot write file in CFileWriter::WritePrefix");
    Put(prefix, kPrefixSize);
}

void CFileWriter::WriteBuf(const void* data, std::size_t length) {
    constexpr const char16_t* kInvalid = u"Cannot write buf in CFileWriter::WriteBuf";
    if (data == nullptr && length != 0) {
        FailInvalid(kInvalid);
    }
    BeginWrite(kInvalid, u"Cannot write file in CFileWriter::WriteBuf");
    Put(data, length);
}

void CFileWriter::SetAllFileTimes(std::int64_t ticks) {
    if (!m_open) {
        FailInvalid(kSetTimesFailure);
    }
    if (!m_file) {
        Resume();
    }
    if (!platform::SetFileTime(m_file.Get(), &ticks, &ticks, &ticks)) {
        FailWin32(kSetTimesFailure);
    }
    m_times = ticks;
}

std::int64_t CFileWriter::GetCurFilePos() const {
    if (!m_open) {
        FailWin32(u"Error in CFileWriter::GetCurFilePos", platform::win32err::kInvalidHandle);
    }
    return m_position + static_cast<std::int64_t>(m_used);
}

void CFileWriter::SetCurFilePos(std::int64_t position) {
    constexpr const char16_t* kFailure = u"Error in CFileWriter::SetCurFilePos";
    if (!m_open) {
        FailWin32(kFailure, platform::win32err::kInvalidHandle);
    }
    Flush();
    if (!m_file) {
        Resume();
    }
    if (!platform::SetFilePointerEx(m_file.Get(), position, nullptr,
                                    platform::EMoveMethod::Begin)) {
        FailWin32(kFailure);
    }
    m_position = position;
}

std::byte* CFileWriter::Reserve(std::size_t length) {
    BeginWrite(kTextNotOpen, kTextFailure);
    if (length > m_bufferSize) {
        return nullptr;
    }
    MakeRoom(length);
    return m_buffer.get() + m_used;
}

// Afterwards the buffer has space for `length` bytes, or is empty when it is too small.
void CFileWriter::MakeRoom(std::size_t length) {
    if (!m_buffer) {
        m_buffer = std::make_unique_for_overwrite<std::byte[]>(m_bufferSize);
    }
    if (length > m_bufferSize - m_used) {
        Flush();
    }
}

void CFileWriter::Put(const void* data, std::size_t length) {
    MakeRoom(length);
    if (length > m_bufferSize - m_used) {
        WriteThrough(data, length);
    } else if (length != 0) {
        std::memcpy(m_buffer.get() + m_used, data, length);
        m_used += length;
    }
}

void CFileWriter::Flush() {
    if (m_used == 0) {
        return;
    }
    const std::int64_t before = m_position;
    try {
        WriteThrough(m_buffer.get(), m_used);
        m_used = 0;
    } catch (const frame::CExc&) {
        // Bytes that are in the file must not be written again.
        const auto written = static_cast<std::size_t>(m_position - before);
        std::memmove(m_buffer.get(), m_buffer.get() + written, m_used - written);
        m_used -= written;
        throw;
    }
}

void CFileWriter::WriteThrough(const void* data, std::size_t length) {
    if (!m_file) {
        Resume();
    }
    std::size_t written = 0;
    const bool done = platform::WriteFile(m_file.Get(), data, length, written);
    const std::uint32_t code = done ? 0 : platform::GetLastError();
    m_position += static_cast<std::int64_t>(written);
    m_fileSize = std::max(m_fileSize, m_position);
    if (!done) {
        FailWin32(m_failure, code);
    }
}

void CFileWriter::Pause() {
    CloseHandle();
}

void CFileWriter::Resume() {
    platform::CFileHandle file = Open(m_path, platform::kOpenExisting, m_flags);
    std::int64_t size = 0;
    if (!file || !platform::GetFileSizeEx(file.Get(), size)) {
        FailWin32(m_failure);
    }
    if (size != m_fileSize) {
        FailWin32(m_failure, platform::win32err::kSharingViolation);
    }
    const bool timesKept =
        !m_times || platform::SetFileTime(file.Get(), &*m_times, &*m_times, &*m_times);
    if (!timesKept || !platform::SetFilePointerEx(file.Get(), m_position, nullptr,
                                                  platform::EMoveMethod::Begin)) {
        FailWin32(m_failure);
    }
    m_file = std::move(file);
}

void CFileWriter::ReleaseBuffer() {
    Flush();
    m_buffer.reset();
}

}  // namespace idxdata
