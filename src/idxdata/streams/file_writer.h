// Writes typed fields and lines of text to a file.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "idxdata/streams/streams.h"
#include "platform/files.h"
#include "platform/memory.h"

namespace idxdata {

// Gathers what is written in a buffer of its own. What the system refuses is met by the
// operation that empties the buffer, at the latest by Close, and carries the message of
// the last operation that wrote. The destructor only closes: without Close (or Flush)
// what is still buffered is lost. One thread at a time.
//
// A writer that waits can let its handle go (Pause): what was buffered, the position and
// the times set stay, and the file is opened again when it is needed.
//
// All writing throws CExc (E_INVALIDARG) when no file is open and CWin32Exc when the
// system refuses; what was buffered before stays buffered then.
class CFileWriter final : public ISerializator {
public:
    static constexpr std::size_t kDefaultBufferSize = 64 * 1024;  // bytes
    static constexpr std::size_t kPrefixSize = 4;                 // bytes

    // The buffer's memory is taken at the first write.
    explicit CFileWriter(std::size_t bufferSize = kDefaultBufferSize) noexcept
        : m_bufferSize(bufferSize) {}
    CFileWriter(const CFileWriter&) = delete;
    CFileWriter& operator=(const CFileWriter&) = delete;
    ~CFileWriter() = default;

    // Replaces a file of that name. Closes the file held before.
    void Create(std::u16string_view path);
    // Nothing happens when no file is open; the file is let go even when this throws.
    void Close();
    // A paused file is open.
    bool IsOpen() const noexcept { return m_open; }

    void WriteWord(std::uint16_t value) override;
    void WriteDWord(std::uint32_t value) override;
    void WriteLongLong(std::int64_t value) override;
    void WriteString(std::u16string_view text) override;
    // The units and CR LF.
    void WriteTextString(std::u16string_view text);
    // `prefix` is NUL-terminated and has kPrefixSize characters.
    void WritePrefix(const char* prefix);
    void WriteBuf(const void* data, std::size_t length);
    // Creation, last-access and last-write time, in ticks. Later writes do not move them.
    void SetAllFileTimes(std::int64_t ticks);
    std::int64_t GetCurFilePos() const;
    void SetCurFilePos(std::int64_t position);

    // For writers of many lines: room for `length` bytes in the buffer, to be filled and
    // then counted by Commit. Empties the buffer when that is needed; null when the buffer
    // is too small for the length at all. Fails as WriteTextString does.
    std::byte* Reserve(std::size_t length);
    // Writers take turns: what the next line fills is fetched while the others write.
    void Commit(std::size_t length) noexcept {
        constexpr std::size_t kUsualLine = 320;  // bytes
        m_used += length;
        platform::PrefetchForWriting(m_buffer.get() + m_used,
                                     std::min(kUsualLine, m_bufferSize - m_used));
    }
    // Whether `length` bytes can be written without emptying the buffer.
    bool HasRoom(std::size_t length) const noexcept {
        return m_buffer != nullptr && length <= m_bufferSize - m_used;
    }

    // For owners of many writers.

    void Flush();
    // Lets the handle go without flushing. Throws CWin32Exc when the system reports a
    // failure of earlier writes; the handle is gone then, too.
    void Pause();
    // Opens a paused file again. Error 32 when the file is no longer as it was left.
    void Resume();
    bool HoldsHandle() const noexcept { return static_cast<bool>(m_file); }
    // Flushes and gives the buffer's memory back until the next write.
    void ReleaseBuffer();
    bool HoldsBuffer() const noexcept { return m_buffer != nullptr; }
    // Something is written and not yet flushed.
    bool IsPending() const noexcept { return m_used != 0; }

private:
    void BeginWrite(const char16_t* notOpen, const char16_t* failure);
    void MakeRoom(std::size_t length);
    void Put(const void* data, std::size_t length);
    void WriteThrough(const void* data, std::size_t length);
    void CloseHandle();
    template <class Number>
    void WriteNumber(Number value, const char16_t* notOpen, const char16_t* failure);

    platform::CFileHandle m_file;
    bool m_open = false;
    std::u16string m_path;
    std::optional<std::int64_t> m_times;  // ticks
    std::int64_t m_position = 0;          // in the file, where the buffer will go
    std::int64_t m_fileSize = 0;          // bytes, without the buffer
    std::size_t m_bufferSize;             // bytes
    std::size_t m_used = 0;               // bytes
    std::unique_ptr<std::byte[]> m_buffer;
    const char16_t* m_failure = nullptr;  // the message of the last operation that wrote
};

}  // namespace idxdata
