// Growing bytes in memory, and a cursor that cuts them at a delimiter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace idxdata {

// A block of bytes; its content beyond what was written is undefined. The start is aligned
// for every fundamental type.
class CMtfStorage {
public:
    CMtfStorage() = default;
    explicit CMtfStorage(std::uint64_t size) { Resize(size); }

    std::byte* Data() noexcept { return m_data.get(); }
    const std::byte* Data() const noexcept { return m_data.get(); }
    std::uint64_t Size() const noexcept { return m_size; }
    std::uint64_t Capacity() const noexcept { return m_capacity; }
    // A smaller size keeps the block. Throws CExc when memory is short; the content stays.
    void Resize(std::uint64_t size);
    // Room for this many bytes; the size stays. False when memory is short.
    bool Reserve(std::uint64_t capacity) noexcept;

private:
    struct Free {
        void operator()(std::byte* data) const noexcept { std::free(data); }
    };
    std::unique_ptr<std::byte, Free> m_data;
    std::uint64_t m_size = 0;      // bytes that count
    std::uint64_t m_capacity = 0;  // bytes that the block has
};

// Collects bytes in a storage that grows by whole steps.
class CMtfOutBuffer {
public:
    // `growStep` in bytes, above 0.
    explicit CMtfOutBuffer(std::uint64_t growStep, std::uint64_t initialSize = 0);

    void Append(const void* bytes, std::size_t length) {
        if (m_storage->Size() - m_used < length) {
            Grow(length);
        }
        if (length != 0) {
            std::memcpy(m_storage->Data() + m_used, bytes, length);
            m_used += length;
        }
    }
    // Bytes appended so far, and the size of the storage behind them.
    std::uint64_t Used() const noexcept { return m_used; }
    std::uint64_t StorageSize() const noexcept { return m_storage->Size(); }
    // The storage, cut to the bytes appended; the buffer is empty afterwards.
    std::shared_ptr<CMtfStorage> TakeStorage();

private:
    void Grow(std::size_t length);

    std::shared_ptr<CMtfStorage> m_storage;
    std::uint64_t m_used = 0;
    std::uint64_t m_growStep;
};

// Reads a storage from its start, piece by piece.
class CMtfInBuffer {
public:
    explicit CMtfInBuffer(std::shared_ptr<const CMtfStorage> storage);

    bool IsEnd() const noexcept { return m_position >= m_content.size(); }
    std::uint64_t Remaining() const noexcept { return m_content.size() - m_position; }
    std::string_view Rest() const noexcept { return m_content.substr(m_position); }
    bool StartsWith(std::string_view bytes) const noexcept { return Rest().starts_with(bytes); }
    // Offset from the position to the first match, -1 for none. A match at the very end of
    // the content is not found; kept on purpose.
    std::int64_t Find(std::string_view bytes) const noexcept;
    // Stops at the end.
    void Skip(std::uint64_t count) noexcept;
    // The bytes up to the next delimiter, or all that remain, as a view into the storage.
    // False at the end. A delimiter that ends the content stays on its token (see Find).
    bool NextToken(std::string_view delimiter, std::string_view& token) noexcept;

private:
    std::shared_ptr<const CMtfStorage> m_storage;
    std::string_view m_content;
    std::size_t m_position = 0;  // bytes, never past the end
};

}  // namespace idxdata
