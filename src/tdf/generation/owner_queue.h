// A queue of owners from which any owner can be removed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tdf {

// A FIFO of the owners 0 to n-1, each at most once. Every operation takes constant time and
// allocates no memory.
class COwnerQueue {
public:
    explicit COwnerQueue(std::size_t owners)
        : m_end(static_cast<std::uint32_t>(owners)), m_links(owners + 1, {kNotQueued, kNotQueued}) {
        m_links[m_end] = {m_end, m_end};
    }

    std::size_t Size() const noexcept { return m_size; }
    bool Holds(std::uint32_t owner) const noexcept { return m_links[owner].next != kNotQueued; }
    // Requires a queue that is not empty.
    std::uint32_t Front() const noexcept { return m_links[m_end].next; }

    // Adds the owner at the end, or moves it there.
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
        m_links[owner] = {kNotQueued, kNotQueued};
        --m_size;
    }

private:
    static constexpr std::uint32_t kNotQueued = 0xFFFFFFFFU;

    struct Link {
        std::uint32_t previous;
        std::uint32_t next;
    };

    std::uint32_t m_end;  // the sentinel: before the first and after the last
    std::vector<Link> m_links;
    std::size_t m_size = 0;
};

}  // namespace tdf
