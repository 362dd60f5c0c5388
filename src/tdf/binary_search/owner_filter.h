// The owner criterion of a search, and the owners of a volume.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/tables/owner_table.h"

namespace tdf {

// An account in the forms that a search accepts: DOMAIN\NAME, NAME@DOMAIN, DOMAIN.NAME or NAME.
class COwnerFilter {
public:
    explicit COwnerFilter(std::u16string_view text);

    // Without regard to the case of ASCII letters.
    bool Matches(std::u16string_view name, std::u16string_view domain) const noexcept;

private:
    std::u16string m_name;
    std::optional<std::u16string> m_domain;  // nullopt: every domain matches
};

// The owners of one volume with the labels that results show.
class COwnerList {
public:
    // Reads the table from its first record. Throws what COwnerTable throws.
    explicit COwnerList(idxdata::CSeqTableReader& table);

    // The first known owner that matches.
    std::optional<std::uint32_t> Find(const COwnerFilter& filter) const noexcept;
    // DOMAIN\NAME, or NAME for an owner without a domain; "unkn" and a number for an unknown
    // owner; empty for an index that is no owner.
    std::u16string_view LabelOf(std::uint32_t index) const noexcept;

private:
    idxdata::COwnerTable m_table;
    std::vector<std::u16string> m_labels;  // by owner
};

}  // namespace tdf
