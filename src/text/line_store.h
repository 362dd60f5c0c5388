// Lines kept for later.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "text/text_arena.h"

namespace text {

// A list of texts. Texts stay at their addresses while more are added.
class CLineStore {
public:
    // Copies `length` code units from any address.
    void Add(const std::byte* units, std::size_t length) {
        m_lines.push_back(m_arena.Add(units, length));
    }

    std::size_t size() const noexcept { return m_lines.size(); }
    std::u16string_view operator[](std::size_t i) const noexcept { return m_lines[i]; }

private:
    CTextArena m_arena;
    std::vector<std::u16string_view> m_lines;
};

}  // namespace text
