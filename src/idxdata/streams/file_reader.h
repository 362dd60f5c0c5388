// Reads typed fields from an open file.
#pragma once

#include "idxdata/streams/file_source.h"
#include "idxdata/streams/streams.h"

namespace idxdata {

// Reads through a buffer. Past the end of the file the missing bytes of a number are 0 and a prefix
// buffer keeps its content, without an error. Kept for compatibility. The destructor closes the
// file.
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
    std::span<const std::byte> Window(std::size_t wanted) override {
        return m_source.Window(wanted);
    }
    void SkipBytes(std::size_t count) override { m_source.Skip(count); }
    std::u16string_view GetPath() const override { return m_path; }

    // Reads one line of UTF-16LE text, without its LF and without any CR and U+FEFF. Returns
    // false at the end of the file; an empty last line is not returned.
    bool ReadTextString(std::u16string& line);

    void SetDeleteOnClose(bool deleteOnClose) noexcept { m_deleteOnClose = deleteOnClose; }

private:
    // Copies up to `length` bytes to `target`; fewer only at the end of the file.
    std::size_t Fetch(void* target, std::size_t length, const char16_t* failure);
    template <class Number>
    Number ReadNumber(const char16_t* failure);

    CFileSource m_source;
    std::u16string m_path;
    bool m_deleteOnClose = false;
};

}  // namespace idxdata
