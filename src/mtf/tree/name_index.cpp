#include "mtf/tree/name_index.h"

#include <algorithm>
#include <bit>

#include "text/ascii_case.h"

namespace mtf {

namespace {

// A multiplicative hash with the bits of every unit spread over the result.
template <class Fold>
std::uint32_t HashUnits(std::uint32_t owner, std::u16string_view name, Fold fold) noexcept {
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15U;
    std::uint64_t hash = (owner + 1) * kMultiplier;
    for (const char16_t unit : name) {
        hash = (std::rotl(hash, 23) ^ fold(unit)) * kMultiplier;
    }
    return static_cast<std::uint32_t>(hash >> 32);
}

}  // namespace

std::uint32_t HashName(std::uint32_t owner, std::u16string_view name) noexcept {
    return HashUnits(owner, name, [](char16_t unit) { return unit; });
}

std::uint32_t HashNameNoCase(std::uint32_t owner, std::u16string_view name) noexcept {
    return HashUnits(owner, name, [](char16_t unit) { return text::ToLowerAscii(unit); });
}

void CMtfNameIndex::ReserveMore(std::size_t items) {
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

void CMtfNameIndex::Insert(std::uint32_t hash, std::uint32_t item) noexcept {
    Place({hash, item});
    ++m_count;
}

void CMtfNameIndex::Erase(std::uint32_t hash, std::uint32_t item) noexcept {
    std::size_t hole = hash & Mask();
    while (m_slots[hole].item != item) {
        hole = (hole + 1) & Mask();
    }
    // Slots behind the hole move into it when their search begins at or before it.
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

void CMtfNameIndex::Place(Slot slot) noexcept {
    std::size_t i = slot.hash & Mask();
    while (m_slots[i].item != kNone) {
        i = (i + 1) & Mask();
    }
    m_slots[i] = slot;
}

}  // namespace mtf
