// Reads typed fields from a file of any size and reports the end as an error.
#pragma once

#include "idxdata/streams/file_source.h"
#include "idxdata/streams/streams.h"

namespace idxdata {

// The reads and failures of CBuffFileReader for a file that is not loaded: memory does not grow
// with the file, which can be larger than 4294967295 bytes. A read past the end throws CExc
// (E_FAIL), a failed call of the system CWin32Exc.
class CStreamFileReader final : public IReader {
public:
    CStreamFileReader() = default;
    CStreamFileReader(const CStreamFileReader&) = delete;
    CStreamFileReader& operator=(const CStreamFileReader&) = delete;
    ~CStreamFileReader() override = default;

    std::uint16_t ReadWord() override { return ReadNumber<std::uint16_t>(); }
    std::uint32_t ReadDWord() override { return ReadNumber<std::uint32_t>(); }
    std::int64_t ReadLongLong() override { return ReadNumber<std::int64_t>(); }
    void ReadString(std::u16string& text) override;
    void Open(std::u16string_view path) override;
    void Close() override { m_source.Close(); }
    std::int64_t GetCurFilePos() override { return m_source.Position(); }
    // Positions in the file are accepted, others as by CBuffFileReader.
    void SetCurFilePos(std::int64_t position) override;
    void ReadPrefix(char* buffer) override;
    std::uint64_t Remaining() override;
    std::span<const std::byte> Window(std::size_t wanted) override {
        return m_source.Window(wanted);
    }
    void SkipBytes(std::size_t count) override { m_source.Skip(count); }
    std::u16string_view GetPath() const override { return m_path; }

private:
    void Fetch(void* target, std::size_t length);
    template <class Number>
    Number ReadNumber() {
        Number value = 0;
        Fetch(&value, sizeof value);
        return value;
    }

    CFileSource m_source;
    std::u16string m_path;
};

}  // namespace idxdata
