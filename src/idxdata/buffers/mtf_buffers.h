// A growing byte buffer, and a cursor that cuts one at a delimiter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace idxdata {

// A block of bytes, aligned for every fundamental type. Bytes that were not written are
// undefined.
class CMtfStorage {
public:
    CMtfStorage() = default;
    explicit CMtfStorage(std::uint64_t size) { Resize(size); }

    std::byte* Data() noexcept { return m_data.get(); }
    const std::byte* Data() const noexcept { return m_data.get(); }
    std::uint64_t Size() const noexcept { return m_size; }
    std::uint64_t Capacity() const noexcept { return m_capacity; }
    // A smaller size keeps the block. Throws CExc (E_FAIL) without memory; the content stays.
    void Resize(std::uint64_t size);
    // Allocates at least this many bytes; the size stays. Returns false without memory.
    bool Reserve(std::uint64_t capacity) noexcept;

private:
    struct Free {
        void operator()(std::byte* data) const noexcept { std::free(data); }
    };
    std::unique_ptr<std::byte, Free> m_data;
    std::uint64_t m_size = 0;      // bytes
    std::uint64_t m_capacity = 0;  // bytes of the block
};

// Collects bytes in a storage whose size is a multiple of the grow step.
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
    // Bytes appended so far.
    std::uint64_t Used() const noexcept { return m_used; }
    std::uint64_t StorageSize() const noexcept { return m_storage->Size(); }
    // Returns the storage with the size of the bytes appended. The buffer is empty afterwards.
    std::shared_ptr<CMtfStorage> TakeStorage();

private:
    void Grow(std::size_t length);

    std::shared_ptr<CMtfStorage> m_storage;
    std::uint64_t m_used = 0;
    std::uint64_t m_growStep;
};

// Reads a storage from its start.
class CMtfInBuffer {
public:
    explicit CMtfInBuffer(std::shared_ptr<const CMtfStorage> storage);

    bool IsEnd() const noexcept { return m_position >= m_content.size(); }
    std::uint64_t Remaining() const noexcept { return m_content.size() - m_position; }
    std::string_view Rest() const noexcept { return m_content.substr(m_position); }
    bool StartsWith(std::string_view bytes) const noexcept { return Rest().starts_with(bytes); }
    // Offset from the position to the first match, or -1. A match that ends at the end of the
    // content is not found. Kept for compatibility.
    std::int64_t Find(std::string_view bytes) const noexcept;
    // Moves the position forward, at most to the end.
    void Skip(std::uint64_t count) noexcept;
    // Gets the bytes up to the next delimiter, or the rest, as a view into the storage, and
    // moves past them. Returns false at the end. The last token contains a delimiter that
    // ends the content (see Find).
    bool NextToken(std::string_view delimiter, std::string_view& token) noexcept;

private:
    std::shared_ptr<const CMtfStorage> m_storage;
    std::string_view m_content;
    std::size_t m_position = 0;  // bytes, never past the end
};

}  // namespace idxdata
