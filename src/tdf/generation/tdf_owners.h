// The owners of one volume for the generation of text data files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/tables/records.h"
#include "text/line_store.h"

namespace tdf {

// The owner table by record position. An owner without a name, or whose name is its
// identity, is unknown; unknown owners are numbered in table order.
class CTdfOwners {
public:
    static constexpr std::uint32_t kUniqueLabel = 0xFFFFFFFFU;

    void Add(const rec::COwnerRecord& record);
    // Once, when all are added.
    void FindSharedLabels();

    std::size_t Count() const noexcept { return m_labels.size(); }
    // "CORP.jsmith" or "unkn0": how file names tell the owner.
    std::u16string_view LabelOf(std::size_t owner) const noexcept { return m_labels[owner]; }
    // "CORP\jsmith    ID-1001" or "unkn0    ID-18".
    std::u16string MapLineOf(std::size_t owner) const;
    // The first owner whose files have the same names when there are several, else kUniqueLabel.
    std::uint32_t FirstWithSameLabel(std::size_t owner) const noexcept {
        return m_firstWithLabel[owner];
    }

private:
    text::CLineStore m_labels;
    text::CLineStore m_ids;
    std::vector<std::size_t> m_domainLengths;  // npos for unknown owners
    std::vector<std::uint32_t> m_firstWithLabel;
    std::uint64_t m_unknown = 0;  // unknown owners so far
};

}  // namespace tdf
