// Reads typed fields from an open file.
#pragma once

#include "idxdata/streams/streams.h"
#include "platform/files.h"
#include "platform/memory.h"

namespace idxdata {

// Reads through a buffer; positions are those of the fields. Past the end of the file the
// missing bytes of a number are 0 and a prefix buffer keeps its content, without an error.
// Kept for compatibility; HasReadPastEnd reports it. The destructor closes the file.
class CFileReader final : public IReader {
public:
    CFileReader() = default;
    CFileReader(const CFileReader&) = delete;
    CFileReader& operator=(const CFileReader&) = delete;
    ~CFileReader() override { Close(); }

    // Each call throws CWin32Exc with the last error when a call of the system fails.

    std::uint16_t ReadWord() override;
    std::uint32_t ReadDWord() override;
    std::int64_t ReadLongLong() override;
    // Returns as many code units as the count states; those past the end of the file are 0.
    // A count above 65536 that exceeds the rest of the file fails with error 38.
    void ReadString(std::u16string& text) override;
    void Open(std::u16string_view path) override;
    void Close() override;
    std::int64_t GetCurFilePos() override;
    void SetCurFilePos(std::int64_t position) override;
    void ReadPrefix(char* buffer) override;
    std::uint64_t Remaining() override;
    std::span<const std::byte> Window(std::size_t wanted) override;
    void SkipBytes(std::size_t count) override;
    bool HasReadPastEnd() const override { return m_readPastEnd; }
    std::u16string_view GetPath() const override { return m_path; }

    // Reads one line of UTF-16LE text, without its LF and without any CR and U+FEFF. Returns
    // false at the end of the file; an empty last line is not returned.
    bool ReadTextString(std::u16string& line);

    void SetDeleteOnClose(bool deleteOnClose) noexcept { m_deleteOnClose = deleteOnClose; }

private:
    std::size_t Buffered() const noexcept { return m_end - m_begin; }
    // Reads until `wanted` bytes are buffered or the file ends. Returns false when a read
    // fails. `wanted` is at most the size of the buffer.
    bool Fill(std::size_t wanted);
    // Copies up to `length` bytes to `target`; fewer only at the end of the file.
    std::size_t Fetch(void* target, std::size_t length, const char16_t* failure);
    template <class Number>
    Number ReadNumber(const char16_t* failure);
    void DropBuffer() noexcept;

    platform::CFileHandle m_file;
    std::u16string m_path;
    bool m_deleteOnClose = false;
    platform::CBlockPtr m_buffer;
    std::size_t m_begin = 0;     // of the buffered bytes that are not yet read
    std::size_t m_end = 0;       // of the buffered bytes
    std::int64_t m_filePos = 0;  // file position after the buffered bytes
    bool m_atEnd = false;        // the file ends after the buffered bytes
    bool m_readPastEnd = false;  // see HasReadPastEnd
};

}  // namespace idxdata
