// A list of texts in few blocks of memory.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace text {

// Stores texts one after another. The views of earlier texts remain valid when more are added.
class CLineStore {
public:
    // Copies `length` units at any alignment.
    void Add(const std::byte* units, std::size_t length);

    std::size_t size() const noexcept { return m_lines.size(); }
    std::u16string_view operator[](std::size_t i) const noexcept { return m_lines[i]; }

private:
    char16_t* Allocate(std::size_t length);

    std::vector<std::unique_ptr<char16_t[]>> m_chunks;
    std::size_t m_free = 0;  // code units left at the end of the last chunk
    char16_t* m_next = nullptr;
    std::vector<std::u16string_view> m_lines;
};

}  // namespace text
