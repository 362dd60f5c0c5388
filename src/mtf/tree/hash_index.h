// A hash index of numbered items.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mtf {

// Maps hashes to item numbers; the caller compares the items themselves. Open addressing with
// linear probing, at most half full, without tombstones.
class CHashIndex {
public:
    static constexpr std::uint32_t kNone = ~std::uint32_t{0};

    // The first item with this hash for which `isMatch(item)` holds.
    template <class IsMatch>
    std::uint32_t Find(std::uint32_t hash, IsMatch&& isMatch) const {
        if (m_slots.empty()) {
            return kNone;
        }
        for (std::size_t i = hash & Mask(); m_slots[i].item != kNone; i = (i + 1) & Mask()) {
            if (m_slots[i].hash == hash && isMatch(m_slots[i].item)) {
                return m_slots[i].item;
            }
        }
        return kNone;
    }
    // Reserves room for `items` more insertions, which then cannot fail.
    void ReserveMore(std::size_t items);
    void Insert(std::uint32_t hash, std::uint32_t item) noexcept;
    // Requires that the item is in the index.
    void Erase(std::uint32_t hash, std::uint32_t item) noexcept;

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t item = kNone;
    };

    std::size_t Mask() const noexcept { return m_slots.size() - 1; }
    void Place(Slot slot) noexcept;

    std::vector<Slot> m_slots;  // their number is a power of two
    std::size_t m_count = 0;
};

}  // namespace mtf
