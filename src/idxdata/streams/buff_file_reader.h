// Reads typed fields from a file in memory.
#pragma once

#include "idxdata/streams/streams.h"
#include "platform/memory.h"

namespace idxdata {

// Loads a whole file into memory, closes it and reads from memory. A read past the end
// throws CExc (E_FAIL).
class CBuffFileReader final : public IReader {
public:
    static constexpr std::uint64_t kClosedPosition = 4294967295;
    static constexpr char16_t kOpenFailure[] = u"Cannot open file CBuffFileReader::Open";
    static constexpr char16_t kSizeFailure[] = u"Cannot get file size CBuffFileReader::Open";
    static constexpr char16_t kReadFailure[] = u"Cannot read file in CBuffFileReader::Open";
    // The position that SetCurFilePos sets; throws for one that it refuses.
    static std::uint32_t AcceptedPosition(std::int64_t position);

    CBuffFileReader() = default;
    CBuffFileReader(const CBuffFileReader&) = delete;
    CBuffFileReader& operator=(const CBuffFileReader&) = delete;
    ~CBuffFileReader() override = default;

    std::uint16_t ReadWord() override;
    std::uint32_t ReadDWord() override;
    std::int64_t ReadLongLong() override;
    void ReadString(std::u16string& text) override;
    // Does nothing when a file is already open. Throws CWin32Exc; a file larger than
    // 4294967295 bytes fails with error 50.
    void Open(std::u16string_view path) override;
    void Close() override;
    std::int64_t GetCurFilePos() override { return static_cast<std::int64_t>(m_position); }
    // Accepts a position after the end of the content; the next read fails. 4294967295 and
    // above fail with error 50. Of a negative position the low 32 bits are used.
    void SetCurFilePos(std::int64_t position) override;
    void ReadPrefix(char* buffer) override;
    std::uint64_t Remaining() override { return Rest(); }
    std::span<const std::byte> Window(std::size_t wanted) override;
    void SkipBytes(std::size_t count) override { m_position += count; }
    std::u16string_view GetPath() const override { return m_path; }

private:
    std::size_t Rest() const noexcept {
        return m_position >= m_size ? 0 : m_size - static_cast<std::size_t>(m_position);
    }
    // Returns the next `length` bytes and moves the position past them.
    const std::byte* Take(std::size_t length);

    bool m_opened = false;
    std::uint64_t m_position = kClosedPosition;
    platform::CBlockPtr m_content;
    std::size_t m_size = 0;  // bytes
    std::u16string m_path;
};

}  // namespace idxdata
