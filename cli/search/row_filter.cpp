#include "cli/search/row_filter.h"

#include <algorithm>
#include <utility>

#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

constexpr std::size_t kDriveLength = 2;  // "C:"

char16_t FoldedUnit(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
}

// `folded` is folded already.
bool EqualsFolded(std::u16string_view text, std::u16string_view folded) {
    return std::equal(text.begin(), text.end(), folded.begin(), folded.end(),
                      [](char16_t a, char16_t b) { return FoldedUnit(a) == b; });
}

std::vector<client::CString> ToStrings(const std::vector<std::u16string>& texts) {
    std::vector<client::CString> strings;
    for (const std::u16string& text : texts) {
        strings.emplace_back(text);
    }
    return strings;
}

}  // namespace

CRowFilter::CRowFilter(const CSearchFilters& filters, const OwnerLabels* owners, ETested tested)
    : m_patterns(ToStrings(filters.NamePatterns(tested != ETested::Nothing))),
      m_excluded(ToStrings(filters.ExcludedPatterns())),
      m_globs(filters.Globs()),
      m_endings(filters.Endings()),
      m_owners(owners),
      m_volume(filters.Volume()) {
    if (!m_patterns.empty() || !m_excluded.empty()) {
        m_library = client::CreateLibrary();
    }
    const std::u16string root = filters.Root(u"C");
    if (tested != ETested::NameAndFolder && root.size() > kDriveLength) {
        m_folder = Folded(root).substr(kDriveLength) + u'\\';
    }
}

bool CRowFilter::IsEmpty() const {
    return !m_library && m_globs.empty() && !m_endings && m_owners == nullptr && !m_volume &&
           m_folder.empty();
}

bool CRowFilter::Accepts(const SearchResult& row) {
    const std::u16string_view path = client::ViewOf(row.FileFullName);
    return IsInPlace(path) && AcceptsName(row.FileFullName) &&
           AcceptsOwner(path, client::ViewOf(row.Owner));
}

bool CRowFilter::AcceptsFolder(std::u16string_view path) {
    return IsInPlace(path) && AcceptsName(client::CString(path));
}

bool CRowFilter::IsInPlace(std::u16string_view path) const {
    const bool isInVolume =
        !m_volume || (!path.empty() && FoldedUnit(path[0]) == FoldedUnit(*m_volume));
    return isInVolume && (m_folder.empty() ||
                          (path.size() > kDriveLength + m_folder.size() &&
                           EqualsFolded(path.substr(kDriveLength, m_folder.size()), m_folder)));
}

bool CRowFilter::AcceptsName(BSTR path) {
    std::u16string_view name = client::ViewOf(path);
    name.remove_prefix(name.rfind(u'\\') + 1);
    const bool isWanted = (m_patterns.empty() && m_globs.empty()) ||
                          std::any_of(m_globs.begin(), m_globs.end(),
                                      [&](const CGlob& glob) { return glob.Matches(name); }) ||
                          MatchesAny(path, m_patterns);
    const bool hasEnding =
        !m_endings || std::any_of(m_endings->begin(), m_endings->end(), [&](const auto& ending) {
            return name.size() > ending.size() &&
                   EqualsFolded(name.substr(name.size() - ending.size()), ending);
        });
    return isWanted && hasEnding && !MatchesAny(path, m_excluded);
}

bool CRowFilter::MatchesAny(BSTR path, const std::vector<client::CString>& patterns) {
    return std::any_of(patterns.begin(), patterns.end(), [&](const client::CString& pattern) {
        VARIANT_BOOL matches = VARIANT_FALSE;
        client::Check(m_library->IsWildcardMatch(path, pattern, &matches), "pattern");
        return matches != VARIANT_FALSE;
    });
}

bool CRowFilter::AcceptsOwner(std::u16string_view path, std::u16string_view owner) const {
    if (m_owners == nullptr) {
        return true;
    }
    const auto labels = m_owners->find(path.empty() ? u'\0' : FoldedUnit(path[0]));
    return labels != m_owners->end() && labels->second.contains(owner);
}

}  // namespace zorel::cli
