// Reads typed fields from a file that is loaded whole.
#pragma once

#include "idxdata/streams/streams.h"
#include "platform/memory.h"

namespace idxdata {

// Holds a file's content in memory and reads from there; nothing of the file stays open.
// A read past the end throws CExc (E_FAIL).
class CBuffFileReader final : public IReader {
public:
    static constexpr std::uint64_t kClosedPosition = 4294967295;

    CBuffFileReader() = default;
    CBuffFileReader(const CBuffFileReader&) = delete;
    CBuffFileReader& operator=(const CBuffFileReader&) = delete;
    ~CBuffFileReader() override = default;

    std::uint16_t ReadWord() override;
    std::uint32_t ReadDWord() override;
    std::int64_t ReadLongLong() override;
    void ReadString(std::u16string& text) override;
    // Does nothing when a file is open already. Throws CWin32Exc; files above 4294967295
    // bytes are refused with error 50.
    void Open(std::u16string_view path) override;
    void Close() override;
    std::int64_t GetCurFilePos() override { return static_cast<std::int64_t>(m_position); }
    // Positions behind the content are taken; the next read fails. Refuses 4294967295 and
    // above with error 50, and keeps the low 32 bits of a negative position.
    void SetCurFilePos(std::int64_t position) override;
    void ReadPrefix(char* buffer) override;
    std::uint64_t Remaining() override { return Rest(); }
    std::span<const std::byte> Window(std::size_t wanted) override;
    void SkipBytes(std::size_t count) override { m_position += count; }
    std::u16string_view GetPath() const override { return m_path; }

    // The whole content; empty before Open.
    std::span<const std::byte> Content() const noexcept { return {m_content.get(), m_size}; }

private:
    std::size_t Rest() const noexcept {
        return m_position >= m_size ? 0 : m_size - static_cast<std::size_t>(m_position);
    }
    // The next `length` bytes, which become read.
    const std::byte* Take(std::size_t length);

    bool m_opened = false;
    std::uint64_t m_position = kClosedPosition;
    platform::CBlockPtr m_content;
    std::size_t m_size = 0;  // bytes
    std::u16string m_path;
};

}  // namespace idxdata
