// The owners of one volume for the generation of text data files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "idxdata/tables/owner_table.h"

namespace tdf {

// How file names and the owners map show the owners of the Owners table.
class CTdfOwners {
public:
    static constexpr std::uint32_t kUniqueLabel = 0xFFFFFFFFU;

    // Reads the table from its first record. Throws what COwnerTable throws.
    explicit CTdfOwners(idxdata::CSeqTableReader& table);

    std::size_t Count() const noexcept { return m_table.Count(); }
    // "CORP.jsmith" or "unkn0": the owner in file names.
    std::u16string LabelOf(std::size_t owner) const { return m_table.LabelOf(owner, u'.'); }
    // "CORP\jsmith    ID-1001" or "unkn0    ID-18".
    std::u16string MapLineOf(std::size_t owner) const;
    // The first owner whose files have the same names as the owner's; kUniqueLabel when no
    // other owner has such files.
    std::uint32_t FirstWithSameLabel(std::size_t owner) const noexcept {
        return m_firstWithLabel[owner];
    }

private:
    void FindSharedLabels();

    idxdata::COwnerTable m_table;
    std::vector<std::uint32_t> m_firstWithLabel;
};

}  // namespace tdf
