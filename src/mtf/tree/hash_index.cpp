#include "mtf/tree/hash_index.h"

#include <algorithm>
#include <bit>

namespace mtf {

void CHashIndex::ReserveMore(std::size_t items) {
    const std::size_t needed = 2 * (m_count + items);
    if (needed <= m_slots.size()) {
        return;
    }
    std::vector<Slot> old(std::bit_ceil(std::max<std::size_t>(16, needed)));
    old.swap(m_slots);
    for (const Slot& slot : old) {
        if (slot.item != kNone) {
            Place(slot);
        }
    }
}

void CHashIndex::Insert(std::uint32_t hash, std::uint32_t item) noexcept {
    Place({hash, item});
    ++m_count;
}

void CHashIndex::Erase(std::uint32_t hash, std::uint32_t item) noexcept {
    std::size_t hole = hash & Mask();
    while (m_slots[hole].item != item) {
        hole = (hole + 1) & Mask();
    }
    // A later item moves into the hole when its search begins at the hole or before it.
    for (std::size_t i = (hole + 1) & Mask(); m_slots[i].item != kNone; i = (i + 1) & Mask()) {
        const std::size_t distance = (i - m_slots[i].hash) & Mask();
        if (distance >= ((i - hole) & Mask())) {
            m_slots[hole] = m_slots[i];
            hole = i;
        }
    }
    m_slots[hole] = {};
    --m_count;
}

void CHashIndex::Place(Slot slot) noexcept {
    std::size_t i = slot.hash & Mask();
    while (m_slots[i].item != kNone) {
        i = (i + 1) & Mask();
    }
    m_slots[i] = slot;
}

}  // namespace mtf
