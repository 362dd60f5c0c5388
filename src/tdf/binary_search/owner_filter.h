// The owners of a volume, and the one that a search asks for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/tables/records.h"

namespace tdf {

// An account as a search writes it: DOMAIN\NAME, NAME@DOMAIN, DOMAIN.NAME or NAME.
class COwnerFilter {
public:
    explicit COwnerFilter(std::u16string_view text);

    // Without regard to the case of ASCII letters.
    bool Matches(std::u16string_view name, std::u16string_view domain) const noexcept;

private:
    std::u16string m_name;
    std::optional<std::u16string> m_domain;  // without one every domain matches
};

// The owners of one volume in the order of its table.
class COwnerList {
public:
    void Add(const rec::COwnerRecord& record);

    // The first known owner that matches.
    std::optional<std::uint32_t> Find(const COwnerFilter& filter) const noexcept;
    // How results show the owner: DOMAIN\NAME, or NAME without a domain; "unkn" and a
    // number for an unknown one, empty for an index that names none.
    std::u16string_view LabelOf(std::uint32_t index) const noexcept;

private:
    struct Owner {
        std::u16string label;
        std::u16string name;  // of a known owner
        std::u16string domain;
        bool known;
    };

    std::vector<Owner> m_owners;
    std::uint64_t m_unknown = 0;  // unknown owners so far
};

}  // namespace tdf
