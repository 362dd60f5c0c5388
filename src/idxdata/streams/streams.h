// Typed little-endian streams: the encodings of doc/index-data-file.md.
//
// A Word, DWord and LongLong take 2, 4 and 8 bytes; a string is a DWord with the number
// of UTF-16 code units, then the units, without terminator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace idxdata {

class IDeserializator {
public:
    virtual std::uint16_t ReadWord() = 0;
    virtual std::uint32_t ReadDWord() = 0;
    virtual std::int64_t ReadLongLong() = 0;
    // Replaces `text`, reusing its memory.
    virtual void ReadString(std::u16string& text) = 0;

protected:
    ~IDeserializator() = default;
};

// A source of fields with a position. One thread at a time; owners share it through
// std::shared_ptr.
class IReader : public IDeserializator {
public:
    static constexpr std::size_t kPrefixSize = 4;  // bytes

    virtual void Open(std::u16string_view path) = 0;
    virtual void Close() = 0;
    virtual std::int64_t GetCurFilePos() = 0;
    virtual void SetCurFilePos(std::int64_t position) = 0;
    // Fills kPrefixSize bytes.
    virtual void ReadPrefix(char* buffer) = 0;
    virtual ~IReader() = default;

    // For readers that look at records where they lie.

    // Bytes between the position and the end of the content.
    virtual std::uint64_t Remaining() = 0;
    // The content from the position on, without copying: at least `wanted` bytes unless
    // the content ends before or `wanted` is beyond kLargestWindow. Valid until the next
    // call of anything but SkipBytes.
    static constexpr std::size_t kLargestWindow = 64 * 1024;
    virtual std::span<const std::byte> Window(std::size_t wanted) = 0;
    // Moves the position over `count` bytes of the last window.
    virtual void SkipBytes(std::size_t count) = 0;
    // The path last opened, for messages.
    virtual std::u16string_view GetPath() const = 0;
};

class ISerializator {
public:
    virtual void WriteWord(std::uint16_t value) = 0;
    virtual void WriteDWord(std::uint32_t value) = 0;
    virtual void WriteLongLong(std::int64_t value) = 0;
    virtual void WriteString(std::u16string_view text) = 0;

protected:
    ~ISerializator() = default;
};

}  // namespace idxdata
