#include "idxdata/tables/owner_table.h"

#include "frame/conversions.h"
#include "text/ascii_case.h"

namespace idxdata {

namespace {

bool IsUnknown(const rec::COwnerRecord& record) {
    return record.OwnerName.empty() || text::EqualsNoCase(record.OwnerName, record.OwnerId);
}

}  // namespace

COwnerTable::COwnerTable(CSeqTableReader& table) {
    rec::COwnerRecord record;
    std::uint64_t unknownOwners = 0;
    while (!table.IsEnd()) {
        table.ReadRecord(record);
        const std::uint64_t number = IsUnknown(record) ? unknownOwners++ : OwnerEntry::kKnown;
        m_owners.push_back({m_texts.Add(record.OwnerId), m_texts.Add(record.OwnerName),
                            m_texts.Add(record.OwnerDomain), number});
    }
}

std::u16string COwnerTable::LabelOf(std::size_t owner, char16_t separator) const {
    const OwnerEntry& entry = m_owners[owner];
    if (!entry.IsKnown()) {
        return u"unkn" + frame::UInt64ToString(entry.unknownNumber);
    }
    std::u16string label(entry.domain);
    label += separator;
    return label += entry.name;
}

}  // namespace idxdata
