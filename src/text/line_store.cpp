#include "text/line_store.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace text {

namespace {

constexpr std::size_t kMinChunk = 2 * 1024;  // code units
constexpr std::size_t kMaxChunk = 1024 * 1024;

}  // namespace

// A text that would leave much of a chunk unused gets a chunk of its own.
char16_t* CLineStore::Allocate(std::size_t length) {
    if (length > m_free) {
        const std::size_t usual =
            std::min(kMinChunk << std::min<std::size_t>(m_chunks.size(), 9), kMaxChunk);
        const bool needsOwnChunk = length > usual / 4;
        const std::size_t units = needsOwnChunk ? length : usual;
        m_chunks.push_back(std::make_unique_for_overwrite<char16_t[]>(units));
        if (needsOwnChunk) {
            return m_chunks.back().get();
        }
        m_next = m_chunks.back().get();
        m_free = units;
    }
    m_free -= length;
    return std::exchange(m_next, m_next + length);
}

void CLineStore::Add(const std::byte* units, std::size_t length) {
    char16_t* text = Allocate(length);
    if (length > 0) {
        std::memcpy(text, units, 2 * length);
    }
    m_lines.emplace_back(text, length);
}

}  // namespace text
