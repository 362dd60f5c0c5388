// Typed little-endian streams: the encodings of doc/index-data-file.md.
//
// A Word, DWord and LongLong have 2, 4 and 8 bytes. A string is a DWord with the number of
// UTF-16 code units, then the units, without a terminator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace idxdata {

// The message for a read past the end of the content, where that is an error.
inline constexpr char16_t kPastEndMessage[] = u"The specified size is out of the buffer boundary.";
// Of every reader. Kept for compatibility.
inline constexpr char16_t kNullPrefixMessage[] = u"Invalid argument in CFileReader::ReadPrefix";

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

// A source of fields with a position. One thread at a time; several owners can share it
// through std::shared_ptr.
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

    // For callers that read records in place.

    // Bytes between the position and the end of the content.
    virtual std::uint64_t Remaining() = 0;
    // The content from the position on, without a copy: at least `wanted` bytes (or
    // kMaxWindow, if that is less) unless the content ends before. Valid until the next call
    // of any function except SkipBytes.
    static constexpr std::size_t kMaxWindow = 64 * 1024;
    virtual std::span<const std::byte> Window(std::size_t wanted) = 0;
    // Moves the position forward by `count` bytes of the last window.
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
