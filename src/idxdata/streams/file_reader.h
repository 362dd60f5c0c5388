// Reads typed fields straight from a file.
#pragma once

#include "idxdata/streams/streams.h"
#include "platform/files.h"
#include "platform/memory.h"

namespace idxdata {

// Reads a file through one buffer of its own; positions are those of the fields read, not
// of the buffer. At the end of the file numbers read as 0 (their missing high bytes are 0)
// and a prefix buffer keeps what it held, without an error: kept on purpose. Closes its
// file when it goes.
class CFileReader final : public IReader {
public:
    CFileReader() = default;
    CFileReader(const CFileReader&) = delete;
    CFileReader& operator=(const CFileReader&) = delete;
    ~CFileReader() override { Close(); }

    // All throw CWin32Exc with the last error when the system refuses.
    std::uint16_t ReadWord() override;
    std::uint32_t ReadDWord() override;
    std::int64_t ReadLongLong() override;
    // Gives as many units as the count says; units behind the end of the file are 0. A
    // count far beyond what the file holds fails with error 38 instead.
    void ReadString(std::u16string& text) override;
    void Open(std::u16string_view path) override;
    void Close() override;
    std::int64_t GetCurFilePos() override;
    void SetCurFilePos(std::int64_t position) override;
    void ReadPrefix(char* buffer) override;
    std::uint64_t Remaining() override;
    std::span<const std::byte> Window(std::size_t wanted) override;
    void SkipBytes(std::size_t count) override;
    std::u16string_view GetPath() const override { return m_path; }

    // One line of UTF-16LE text without its LF; CR and U+FEFF are dropped wherever they
    // stand. False at the end of the file when nothing is left, an empty last line included.
    bool ReadTextString(std::u16string& line);

    void SetDeleteOnClose(bool deleteOnClose) noexcept { m_deleteOnClose = deleteOnClose; }

private:
    std::size_t Buffered() const noexcept { return m_end - m_begin; }
    // False when the system refuses; reads on until `wanted` bytes are buffered or the
    // file ends. `wanted` is at most the buffer's size.
    bool Fill(std::size_t wanted);
    std::size_t Fetch(void* target, std::size_t length, const char16_t* failure);
    template <class Number>
    Number ReadNumber(const char16_t* failure);
    void DropBuffer() noexcept;

    platform::CFileHandle m_file;
    std::u16string m_path;
    bool m_deleteOnClose = false;
    platform::CBlockPtr m_buffer;
    std::size_t m_begin = 0;     // of the buffered bytes not yet read
    std::size_t m_end = 0;       // of the buffered bytes
    std::int64_t m_filePos = 0;  // file position behind the buffered bytes
    bool m_atEnd = false;        // the system has said that nothing follows them
};

}  // namespace idxdata
