#include "text/text_arena.h"

#include <algorithm>

namespace text {

namespace {

constexpr std::size_t kFirstBlock = 2 * 1024;  // code units
constexpr std::size_t kMaxBlock = 1024 * 1024;

}  // namespace

// Blocks double up to the largest size. A text that would leave much of a block unused gets
// a block of its own.
char16_t* CTextArena::TakeFromNewBlock(std::size_t length) {
    const std::size_t usual =
        std::min(kFirstBlock << std::min<std::size_t>(m_blocks.size(), 9), kMaxBlock);
    const bool ownBlock = length > usual / 4;
    const std::size_t units = ownBlock ? length : usual;
    m_blocks.push_back(std::make_unique_for_overwrite<char16_t[]>(units));
    if (ownBlock) {
        return m_blocks.back().get();
    }
    m_next = m_blocks.back().get();
    m_free = units;
    return Take(length);
}

}  // namespace text
