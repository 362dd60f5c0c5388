// A hash index from names to numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace mtf {

// Hashes of an owner's number and a name: for exact names, and for names whose ASCII case
// does not count.
std::uint32_t HashName(std::uint32_t owner, std::u16string_view name) noexcept;
std::uint32_t HashNameNoCase(std::uint32_t owner, std::u16string_view name) noexcept;

// Holds numbers under hashes; the caller compares the names. Open addressing with linear
// probing, at most half full, without tombstones.
class CMtfNameIndex {
public:
    static constexpr std::uint32_t kNone = ~std::uint32_t{0};

    // The first item under `hash` for which `isMatch(item)` holds.
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
    // Room for this many items more; they can then be inserted without failure.
    void ReserveMore(std::size_t items);
    void Insert(std::uint32_t hash, std::uint32_t item) noexcept;
    // The item must be there.
    void Erase(std::uint32_t hash, std::uint32_t item) noexcept;

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t item = kNone;
    };

    std::size_t Mask() const noexcept { return m_slots.size() - 1; }
    void Place(Slot slot) noexcept;

    std::vector<Slot> m_slots;  // a power of two
    std::size_t m_count = 0;
};

}  // namespace mtf
