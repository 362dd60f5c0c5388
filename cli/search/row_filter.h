#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelClient.h"
#include "cli/search/search_filters.h"

namespace zorel::cli {

// The owners of a search by volume, as the labels that results have; an empty label is a file
// without an owner.
using OwnerLabels = std::map<char16_t, std::set<std::u16string, std::less<>>>;

// Tests of a search that the library does not make. For one thread at a time.
class CRowFilter {
public:
    // What the library tests: nothing, a single pattern of --name, or also the folder of --under,
    // though not the letter of its volume.
    enum class ETested { Nothing, Name, NameAndFolder };

    // `owners` are the accepted ones, null when all are.
    CRowFilter(const CSearchFilters& filters, const OwnerLabels* owners, ETested tested);

    // Whether every row is accepted.
    bool IsEmpty() const;
    bool Accepts(const SearchResult& row);
    // Only names and places are tested.
    bool AcceptsFolder(std::u16string_view path);

private:
    bool IsInPlace(std::u16string_view path) const;
    bool AcceptsName(BSTR path);
    bool MatchesAny(BSTR path, const std::vector<client::CString>& patterns);
    bool AcceptsOwner(std::u16string_view path, std::u16string_view owner) const;

    client::CComPtr<IOibIdxLib> m_library;
    std::vector<client::CString> m_patterns;
    std::vector<client::CString> m_excluded;
    const std::vector<CGlob>& m_globs;
    const std::optional<std::vector<std::u16string>>& m_endings;
    const OwnerLabels* m_owners;
    std::optional<char16_t> m_volume;
    std::u16string m_folder;  // u"\\docs\\", folded; empty: every folder
};

}  // namespace zorel::cli
