#include "idxdata/streams/file_source.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "idxdata/streams/streams.h"
#include "platform/errors.h"

namespace idxdata {

namespace {

constexpr std::size_t kBufferSize = 256 * 1024;  // bytes
static_assert(kBufferSize >= IReader::kMaxWindow);

}  // namespace

bool CFileSource::Open(std::u16string_view path) {
    platform::CFileHandle file(platform::CreateFileW(path, platform::kGenericRead,
                                                     platform::kShareRead, platform::kOpenExisting,
                                                     platform::kAttributeNormal));
    if (!file) {
        return false;
    }
    Close();
    m_file = std::move(file);
    return true;
}

void CFileSource::Close() noexcept {
    m_file.Reset();
    m_begin = m_end = 0;
    m_filePos = m_suspectUntil = 0;
    m_atEnd = false;
}

bool CFileSource::Seek(std::int64_t position) {
    const std::int64_t bufferPos = m_filePos - static_cast<std::int64_t>(m_end);
    if (IsOpen() && position >= bufferPos && position <= m_filePos) {
        m_begin = static_cast<std::size_t>(position - bufferPos);
        m_atEnd = false;
        return true;
    }
    if (!platform::SetFilePointerEx(m_file.Get(), position, nullptr,
                                    platform::EMoveMethod::Begin)) {
        return false;
    }
    m_begin = m_end = 0;
    m_filePos = position;
    m_atEnd = false;
    return true;
}

bool CFileSource::Remaining(std::uint64_t& bytes) const {
    std::int64_t size = 0;
    if (!platform::GetFileSizeEx(m_file.Get(), size)) {
        return false;
    }
    bytes = static_cast<std::uint64_t>(std::max<std::int64_t>(size - Position(), 0));
    return true;
}

bool CFileSource::Read(void* target, std::size_t length, std::size_t& taken) {
    auto* out = static_cast<std::byte*>(target);
    taken = 0;
    while (taken < length) {
        if (Buffered() == 0) {
            const bool filled = Fill(std::min(length - taken, kBufferSize));
            if (Buffered() == 0) {
                return filled;
            }
        }
        const std::size_t piece = std::min(Buffered(), length - taken);
        std::memcpy(out + taken, Bytes(), piece);
        Skip(piece);
        taken += piece;
    }
    return true;
}

// After a failed read, the next fields are read one by one: they may be before the bad byte.
std::span<const std::byte> CFileSource::Window(std::size_t wanted) {
    if (Buffered() < wanted && m_filePos >= m_suspectUntil) {
        Fill(std::min(wanted, IReader::kMaxWindow));
    }
    return {Bytes(), Buffered()};
}

// Reads until `wanted` bytes are buffered or the file ends. Where a read has failed, no more than
// the wanted bytes are read.
bool CFileSource::Fill(std::size_t wanted) {
    if (!m_buffer) {
        m_buffer = platform::AllocateBlock(kBufferSize);
    }
    if (m_begin > 0) {
        std::memmove(m_buffer.get(), m_buffer.get() + m_begin, Buffered());
        m_end -= std::exchange(m_begin, 0);
    }
    while (Buffered() < wanted && !m_atEnd) {
        const bool ahead = m_filePos >= m_suspectUntil && ReadMore(kBufferSize - m_end);
        if (!ahead && !ReadMore(wanted - Buffered())) {
            return false;
        }
    }
    return true;
}

// Makes one read. Returns false when it fails without a byte.
bool CFileSource::ReadMore(std::size_t length) {
    std::size_t got = 0;
    const bool done = platform::ReadFile(m_file.Get(), m_buffer.get() + m_end, length, got);
    m_end += got;
    m_filePos += static_cast<std::int64_t>(got);
    m_atEnd = done && got == 0;
    if (!done) {
        // The system does not define its file pointer now.
        const std::uint32_t code = platform::GetLastError();
        m_suspectUntil = m_filePos + static_cast<std::int64_t>(length - got);
        platform::SetFilePointerEx(m_file.Get(), m_filePos, nullptr, platform::EMoveMethod::Begin);
        platform::SetLastError(code);
    }
    return done || got != 0;
}

}  // namespace idxdata
