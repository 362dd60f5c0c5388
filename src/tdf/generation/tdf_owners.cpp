#include "tdf/generation/tdf_owners.h"

#include <unordered_map>

#include "platform/files.h"

namespace tdf {

CTdfOwners::CTdfOwners(idxdata::CSeqTableReader& table)
    : m_table(table), m_firstWithLabel(m_table.Count(), kUniqueLabel) {
    FindSharedLabels();
}

void CTdfOwners::FindSharedLabels() {
    std::unordered_map<std::u16string, std::uint32_t> firsts;
    firsts.reserve(Count());
    for (std::uint32_t owner = 0; owner < Count(); ++owner) {
        const auto [first, isNew] = firsts.emplace(platform::FoldFileName(LabelOf(owner)), owner);
        if (!isNew) {
            m_firstWithLabel[first->second] = m_firstWithLabel[owner] = first->second;
        }
    }
}

std::u16string CTdfOwners::MapLineOf(std::size_t owner) const {
    std::u16string line = m_table.LabelOf(owner, u'\\');
    line += u"    ";
    return line += m_table[owner].id;
}

}  // namespace tdf
