// The owners of one volume.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/tables/seq_table_reader.h"
#include "text/text_arena.h"

namespace idxdata {

// One record of the Owners table.
struct OwnerEntry {
    static constexpr std::uint64_t kKnown = ~std::uint64_t{0};

    std::u16string_view id;
    std::u16string_view name;
    std::u16string_view domain;
    std::uint64_t unknownNumber;  // kKnown for a known owner

    bool IsKnown() const noexcept { return unknownNumber == kKnown; }
};

// The Owners table by record position. An owner is unknown when its name is empty or equals
// its identity string without regard to the case of ASCII letters. Unknown owners are
// numbered from 0 in table order.
class COwnerTable {
public:
    // Reads the table from its first record to its end. Throws what reading the records
    // throws.
    explicit COwnerTable(CSeqTableReader& table);

    std::size_t Count() const noexcept { return m_owners.size(); }
    // Whether a file record's owner index is that of an owner.
    bool Contains(std::uint32_t index) const noexcept { return index < m_owners.size(); }
    const OwnerEntry& operator[](std::size_t owner) const noexcept { return m_owners[owner]; }

    // Domain, separator and name; "unkn" and its number for an unknown owner.
    std::u16string LabelOf(std::size_t owner, char16_t separator) const;

private:
    text::CTextArena m_texts;
    std::vector<OwnerEntry> m_owners;
};

}  // namespace idxdata
