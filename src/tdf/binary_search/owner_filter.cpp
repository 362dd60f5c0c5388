#include "tdf/binary_search/owner_filter.h"

#include "text/ascii_case.h"

namespace tdf {

// The text is cut at the first separator of the first kind that it contains. A name that
// contains a dot is therefore read as domain and name.
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

COwnerList::COwnerList(idxdata::CSeqTableReader& table) : m_table(table) {
    m_labels.reserve(m_table.Count());
    for (std::size_t i = 0; i < m_table.Count(); ++i) {
        const idxdata::OwnerEntry& owner = m_table[i];
        m_labels.push_back(owner.IsKnown() && owner.domain.empty() ? std::u16string(owner.name)
                                                                   : m_table.LabelOf(i, u'\\'));
    }
}

std::optional<std::uint32_t> COwnerList::Find(const COwnerFilter& filter) const noexcept {
    for (std::size_t i = 0; i < m_table.Count(); ++i) {
        const idxdata::OwnerEntry& owner = m_table[i];
        if (owner.IsKnown() && filter.Matches(owner.name, owner.domain)) {
            return static_cast<std::uint32_t>(i);
        }
    }
    return std::nullopt;
}

std::u16string_view COwnerList::LabelOf(std::uint32_t index) const noexcept {
    return m_table.Contains(index) ? std::u16string_view(m_labels[index]) : std::u16string_view();
}

}  // namespace tdf
