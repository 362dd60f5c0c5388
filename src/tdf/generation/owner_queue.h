// A queue of owners from which any one can be taken.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tdf {

// First in, first out, over the owners 0 to n-1, each at most once. Every operation is one
// step, and takes no memory.
class COwnerQueue {
public:
    explicit COwnerQueue(std::size_t owners)
        : m_end(static_cast<std::uint32_t>(owners)), m_links(owners + 1, {kOut, kOut}) {
        m_links[m_end] = {m_end, m_end};
    }

    std::size_t Size() const noexcept { return m_size; }
    bool Holds(std::uint32_t owner) const noexcept { return m_links[owner].next != kOut; }
    // Of a queue that is not empty.
    std::uint32_t Front() const noexcept { return m_links[m_end].next; }

    // Behind all others, from wherever it stands.
    void PushBack(std::uint32_t owner) noexcept {
        Remove(owner);
        const std::uint32_t last = m_links[m_end].previous;
        m_links[owner] = {last, m_end};
        m_links[last].next = m_links[m_end].previous = owner;
        ++m_size;
    }

    void Remove(std::uint32_t owner) noexcept {
        if (!Holds(owner)) {
            return;
        }
        const Link link = m_links[owner];
        m_links[link.previous].next = link.next;
        m_links[link.next].previous = link.previous;
        m_links[owner] = {kOut, kOut};
        --m_size;
    }

private:
    static constexpr std::uint32_t kOut = 0xFFFFFFFFU;

    struct Link {
        std::uint32_t previous;
        std::uint32_t next;
    };

    std::uint32_t m_end;  // stands before the first and behind the last
    std::vector<Link> m_links;
    std::size_t m_size = 0;
};

}  // namespace tdf
