// A file that is read through a buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/files.h"
#include "platform/memory.h"

namespace idxdata {

// The file of the readers that do not load a whole file. Its position is that of the next byte to
// take. A failed read loses nothing: every byte before the bad one can be taken, and a later read
// tries the bad one again. One thread at a time.
class CFileSource {
public:
    // A function that returns bool returns false, and sets the last error, when a call of the
    // system fails.

    // Closes the file that was open before; keeps it after a failure.
    bool Open(std::u16string_view path);
    void Close() noexcept;
    bool IsOpen() const noexcept { return static_cast<bool>(m_file); }

    std::int64_t Position() const noexcept {
        return m_filePos - static_cast<std::int64_t>(Buffered());
    }
    // Accepts a position after the end of the file.
    bool Seek(std::int64_t position);
    // Bytes between the position and the end of the file.
    bool Remaining(std::uint64_t& bytes) const;

    // The bytes at the position that are in the buffer.
    std::size_t Buffered() const noexcept { return m_end - m_begin; }
    const std::byte* Bytes() const noexcept { return m_buffer.get() + m_begin; }
    // Takes `count` of them.
    void Skip(std::size_t count) noexcept { m_begin += count; }

    // Takes up to `length` bytes; fewer at the end of the file and after a failure.
    bool Read(void* target, std::size_t length, std::size_t& taken);
    // As IReader::Window; less after a failure.
    std::span<const std::byte> Window(std::size_t wanted);

private:
    bool Fill(std::size_t wanted);
    bool ReadMore(std::size_t length);

    platform::CFileHandle m_file;
    platform::CBlockPtr m_buffer;
    std::size_t m_begin = 0;          // of the buffered bytes that are not yet taken
    std::size_t m_end = 0;            // of the buffered bytes
    std::int64_t m_filePos = 0;       // file position after the buffered bytes
    std::int64_t m_suspectUntil = 0;  // end of the last read that failed
    bool m_atEnd = false;             // the file ends after the buffered bytes
};

}  // namespace idxdata
