#include "tdf/binary_search/owner_filter.h"

#include "frame/conversions.h"
#include "text/ascii_case.h"

namespace tdf {

// The first separator of the first kind that occurs decides, so a name with a dot in it
// is read as domain and name.
COwnerFilter::COwnerFilter(std::u16string_view text) : m_name(text) {
    for (const char16_t separator : {u'\\', u'@', u'.'}) {
        const std::size_t at = text.find(separator);
        if (at == std::u16string_view::npos) {
            continue;
        }
        m_name = text.substr(at + 1);
        m_domain = text.substr(0, at);
        if (separator == u'@') {
            m_name.swap(*m_domain);
        }
        return;
    }
}

bool COwnerFilter::Matches(std::u16string_view name, std::u16string_view domain) const noexcept {
    return text::EqualsNoCase(m_name, name) && (!m_domain || text::EqualsNoCase(*m_domain, domain));
}

void COwnerList::Add(const rec::COwnerRecord& record) {
    if (record.OwnerName.empty() || text::EqualsNoCase(record.OwnerName, record.OwnerId)) {
        m_owners.push_back({u"unkn" + frame::UInt64ToString(m_unknown++), {}, {}, false});
        return;
    }
    std::u16string label = record.OwnerDomain;
    if (!label.empty()) {
        label += u'\\';
    }
    label += record.OwnerName;
    m_owners.push_back({std::move(label), record.OwnerName, record.OwnerDomain, true});
}

std::optional<std::uint32_t> COwnerList::Find(const COwnerFilter& filter) const noexcept {
    for (std::size_t i = 0; i < m_owners.size(); ++i) {
        const Owner& owner = m_owners[i];
        if (owner.known && filter.Matches(owner.name, owner.domain)) {
            return static_cast<std::uint32_t>(i);
        }
    }
    return std::nullopt;
}

std::u16string_view COwnerList::LabelOf(std::uint32_t index) const noexcept {
    return index < m_owners.size() ? std::u16string_view(m_owners[index].label)
                                   : std::u16string_view();
}

}  // namespace tdf
