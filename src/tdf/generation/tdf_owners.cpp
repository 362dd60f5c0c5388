#include "tdf/generation/tdf_owners.h"

#include <span>
#include <unordered_map>

#include "frame/conversions.h"
#include "platform/files.h"
#include "text/ascii_case.h"

namespace tdf {

namespace {

void AddTo(text::CLineStore& store, std::u16string_view text) {
    store.Add(std::as_bytes(std::span(text.data(), text.size())).data(), text.size());
}

bool IsUnknown(const rec::COwnerRecord& record) {
    return record.OwnerName.empty() || text::EqualsNoCase(record.OwnerName, record.OwnerId);
}

}  // namespace

void CTdfOwners::Add(const rec::COwnerRecord& record) {
    if (IsUnknown(record)) {
        AddTo(m_labels, u"unkn" + frame::UInt64ToString(m_unknown++));
        m_domainLengths.push_back(std::u16string::npos);
    } else {
        AddTo(m_labels, record.OwnerDomain + u"." + record.OwnerName);
        m_domainLengths.push_back(record.OwnerDomain.size());
    }
    AddTo(m_ids, record.OwnerId);
}

void CTdfOwners::FindSharedLabels() {
    m_firstWithLabel.assign(Count(), kUniqueLabel);
    std::unordered_map<std::u16string, std::uint32_t> firsts;
    firsts.reserve(Count());
    for (std::uint32_t owner = 0; owner < Count(); ++owner) {
        const auto [first, isNew] = firsts.emplace(platform::FoldFileName(m_labels[owner]), owner);
        if (!isNew) {
            m_firstWithLabel[first->second] = m_firstWithLabel[owner] = first->second;
        }
    }
}

std::u16string CTdfOwners::MapLineOf(std::size_t owner) const {
    std::u16string line(m_labels[owner]);
    if (m_domainLengths[owner] != std::u16string::npos) {
        line[m_domainLengths[owner]] = u'\\';
    }
    line += u"    ";
    return line += m_ids[owner];
}

}  // namespace tdf
