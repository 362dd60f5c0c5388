#include "cli/volume/volume_owners.h"

#include "ZorelText.h"
#include "cli/output/text_format.h"
#include "cli/volume/volume_tables.h"

namespace zorel::cli {

namespace {

constexpr std::u16string_view kUnresolved = u"unkn";

std::u16string Joined(std::u16string_view a, char16_t separator, std::u16string_view b) {
    std::u16string text(a);
    text += separator;
    return text += b;
}

// `wanted` is folded.
bool IsAccount(const idxdata::OwnerEntry& owner, const std::u16string& wanted) {
    return owner.IsKnown() && (wanted == Folded(owner.name) ||
                               wanted == Folded(Joined(owner.domain, u'\\', owner.name)) ||
                               wanted == Folded(Joined(owner.name, u'@', owner.domain)) ||
                               wanted == Folded(Joined(owner.domain, u'.', owner.name)));
}

}  // namespace

CVolumeOwners::CVolumeOwners(const std::string& dataFile) : m_owners(ReadOwnerTable(dataFile)) {
    for (std::size_t i = 0; i < m_owners.Count(); ++i) {
        if (!m_owners[i].IsKnown()) {
            m_unresolved.emplace(LabelOf(i), TextOf(m_owners[i]));
        }
    }
}

std::u16string CVolumeOwners::TextOf(const idxdata::OwnerEntry& owner) {
    if (!owner.IsKnown()) {
        return std::u16string(owner.id);
    }
    return owner.domain.empty() ? std::u16string(owner.name)
                                : Joined(owner.domain, u'\\', owner.name);
}

std::u16string CVolumeOwners::LabelOf(std::size_t owner) const {
    return m_owners[owner].IsKnown() ? TextOf(m_owners[owner]) : m_owners.LabelOf(owner, u'\\');
}

std::u16string_view CVolumeOwners::TextOfLabel(std::u16string_view label) const {
    if (label.starts_with(kUnresolved)) {
        const auto found = m_unresolved.find(label);
        return found != m_unresolved.end() ? std::u16string_view(found->second) : label;
    }
    return label;
}

// A listing shows the control characters of a name by escapes; this form is accepted, too.
std::vector<std::size_t> CVolumeOwners::Find(std::u16string_view text) const {
    const std::u16string wanted = Folded(text);
    std::vector<std::size_t> same;
    std::vector<std::size_t> accounts;
    for (std::size_t i = 0; i < m_owners.Count(); ++i) {
        const std::u16string shown = TextOf(m_owners[i]);
        if (!shown.empty() &&
            (wanted == Folded(shown) || wanted == Folded(ToUtf16(Printable(shown))))) {
            same.push_back(i);
        } else if (IsAccount(m_owners[i], wanted)) {
            accounts.push_back(i);
        }
    }
    return same.empty() ? accounts : same;
}

}  // namespace zorel::cli
