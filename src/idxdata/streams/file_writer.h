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

// Collects fields in a buffer. A failed write to the file is reported by the operation that
// empties the buffer, at the latest by Close, with the message of the last operation that
// wrote. The destructor closes the file and drops a failure, so callers call Close. One thread at
// a time.
//
// Pause releases the file handle of a writer that is not used for a while. Buffer, position
// and times stay, and the next write to the file opens it again.
//
// Write operations throw CExc (E_INVALIDARG) when no file is open and CWin32Exc when a call
// of the system fails; bytes buffered before stay buffered.
//
// Programs other than the module link zorel_index_writer to write index data files:
//
//     idxdata::CFileWriter writer;
//     writer.Create(path);
//     record.Serialize(writer);  // idxdata/tables/records.h
//     writer.Close();
class CFileWriter final : public ISerializator {
public:
    static constexpr std::size_t kDefaultBufferSize = 64 * 1024;  // bytes
    static constexpr std::size_t kPrefixSize = 4;                 // bytes

    // The first write allocates the buffer.
    explicit CFileWriter(std::size_t bufferSize = kDefaultBufferSize) noexcept
        : m_bufferSize(bufferSize) {}
    CFileWriter(const CFileWriter&) = delete;
    CFileWriter& operator=(const CFileWriter&) = delete;
    ~CFileWriter();

    // What Create does with an entry whose content has another name or none: a link, a pipe, a
    // device, a file with several names.
    enum class EOtherEntry { Open, Remove };
    // Replaces the content of an existing file. Closes the file that was open before. A failure
    // leaves that file open, with its position and times; paused, if its close is what failed.
    // With EOtherEntry::Remove the writer follows no link, also when a paused file is opened again.
    void Create(std::u16string_view path, EOtherEntry other = EOtherEntry::Open);
    // Does nothing when no file is open. Releases the file even when it throws.
    void Close();
    // True for a paused file, too.
    bool IsOpen() const noexcept { return m_open; }

    void WriteWord(std::uint16_t value) override;
    void WriteDWord(std::uint32_t value) override;
    void WriteLongLong(std::int64_t value) override;
    void WriteString(std::u16string_view text) override;
    // The code units, then CR LF; no count.
    void WriteTextString(std::u16string_view text);
    // `prefix` is NUL-terminated and has kPrefixSize characters.
    void WritePrefix(const char* prefix);
    void WriteBuf(const void* data, std::size_t length);
    // Sets creation, last-access and last-write time, in ticks. Later writes do not change
    // them.
    void SetAllFileTimes(std::int64_t ticks);
    std::int64_t GetCurFilePos() const;
    void SetCurFilePos(std::int64_t position);

    // For callers that compose lines in place: space for `length` bytes in the buffer. The
    // caller fills it and reports the bytes used to Commit. Empties the buffer if necessary;
    // null when `length` exceeds the size of the buffer. Fails as WriteTextString does.
    std::byte* Reserve(std::size_t length);
    // Prefetches the memory of the next line, which is composed after lines of other writers.
    void Commit(std::size_t length) noexcept {
        constexpr std::size_t kUsualLine = 320;  // bytes
        m_used += length;
        platform::PrefetchForWriting(m_buffer.get() + m_used,
                                     std::min(kUsualLine, m_bufferSize - m_used));
    }
    // Whether `length` bytes fit into the free part of the buffer.
    bool HasRoom(std::size_t length) const noexcept {
        return m_buffer != nullptr && length <= m_bufferSize - m_used;
    }

    // For owners of many writers.

    void Flush();
    // Releases the handle without a flush. Throws CWin32Exc when the system reports a failure
    // of earlier writes; the handle is released in any case.
    void Pause();
    // Opens a paused file again. Fails with error 32 when the file has another size now.
    void Resume();
    bool HoldsHandle() const noexcept { return static_cast<bool>(m_file); }
    // Flushes, then frees the buffer until the next write.
    void ReleaseBuffer();
    bool HoldsBuffer() const noexcept { return m_buffer != nullptr; }
    // Whether the buffer contains bytes that are not in the file.
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
    std::uint32_t m_flags = 0;            // of CreateFileW
    std::optional<std::int64_t> m_times;  // ticks
    std::int64_t m_position = 0;          // in the file, of the first buffered byte
    std::int64_t m_fileSize = 0;          // bytes, without the buffer
    std::size_t m_bufferSize;             // bytes
    std::size_t m_used = 0;               // bytes
    std::unique_ptr<std::byte[]> m_buffer;
    const char16_t* m_failure = nullptr;  // the message of the last operation that wrote
};

}  // namespace idxdata
