#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "idxdata/tables/owner_table.h"

namespace zorel::cli {

// The owners of a volume under the names that the client prints and takes.
class CVolumeOwners {
public:
    // Throws client::CError with the path of the data file.
    explicit CVolumeOwners(const std::string& dataFile);

    const idxdata::COwnerTable& Table() const { return m_owners; }
    // The owner as every listing prints it: DOMAIN\NAME, NAME for an account without a domain, the
    // identity string for an account that could not be resolved.
    static std::u16string TextOf(const idxdata::OwnerEntry& owner);
    // The name that a catalogue search gives the owner: the same, but "unkn" and a number for an
    // account that could not be resolved.
    std::u16string LabelOf(std::size_t owner) const;
    // The text for a label; the label itself for an account that could be resolved.
    std::u16string_view TextOfLabel(std::u16string_view label) const;

    // The owners that a user means: those whose text this is; if there is none, those whose account
    // is NAME, DOMAIN\NAME, NAME@DOMAIN or DOMAIN.NAME. Without regard to the case of A-Z.
    std::vector<std::size_t> Find(std::u16string_view text) const;

private:
    idxdata::COwnerTable m_owners;
    std::map<std::u16string, std::u16string, std::less<>> m_unresolved;  // by label
};

}  // namespace zorel::cli
