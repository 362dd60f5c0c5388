// Text that is put together for output.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace zorel::cli {

// A growing buffer of UTF-8 text. Clear keeps its memory, so that a row of a listing needs no
// allocation. Every function may throw std::bad_alloc.
class CTextBuffer {
public:
    CTextBuffer() = default;
    CTextBuffer(const CTextBuffer& other) { Append(other.View()); }
    CTextBuffer(CTextBuffer&& other) noexcept { Swap(other); }
    CTextBuffer& operator=(CTextBuffer other) noexcept {
        Swap(other);
        return *this;
    }
    ~CTextBuffer() = default;
    void Swap(CTextBuffer& other) noexcept;

    std::string_view View() const { return {m_bytes.get(), m_size}; }
    std::size_t Size() const { return m_size; }
    void Clear() { m_size = 0; }
    // Removes everything after the first `size` bytes.
    void Truncate(std::size_t size) { m_size = size; }

    void Append(char c) {
        *Reserve(1) = c;
        ++m_size;
    }
    void Append(std::string_view text);
    void AppendNumber(std::int64_t value);
    void AppendBlanks(std::size_t count);
    // A part of this text once more.
    void AppendAgain(std::size_t offset, std::size_t size);

    // The text as it is: bytes that are not UTF-8 come back as they were.
    void AppendText(std::u16string_view text);
    // Control characters become \xHH, characters that change the direction of text \uHHHH. Returns
    // the columns on a terminal: one for each code point.
    std::size_t AppendPrintable(std::u16string_view text);
    // The text of a JSON string without its quotes. A lone surrogate becomes its escape.
    void AppendJson(std::u16string_view text);

private:
    // The end of the text, with room for `bytes` more.
    char* Reserve(std::size_t bytes);

    std::unique_ptr<char[]> m_bytes;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

}  // namespace zorel::cli
