#pragma once

#include <deque>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/catalogue/catalogue.h"
#include "cli/search/task_source.h"
#include "cli/search/volume_folders.h"
#include "cli/volume/volume_owners.h"

namespace zorel::cli {

// What a search of catalogues does beside its filters.
struct CatalogueSearch {
    const CSearchFilters& filters;
    const CSearchOutput& output;
    CVolumeFolders* folders = nullptr;  // for volumes that are searched alone; may be null
    bool hasFolders = false;            // whether folders are rows, too
    bool isUnreadableSkipped = false;   // the other volumes are searched; needs `folders`
};

// The search of one catalogue: all of its volumes in one task. If that fails and unreadable volumes
// are skipped, each volume in a task of its own.
class CCatalogueSource : public CTaskSource {
public:
    // `search` must outlive the source.
    CCatalogueSource(CCatalogue catalogue, const CatalogueSearch& search);

    bool Fetch(RowChunk& chunk) override;

protected:
    bool Open(RowChunk& chunk) override;
    std::u16string_view OwnerText(const SearchResult& row) override;

private:
    using Volumes = std::vector<CCatalogue::Volume>;
    using Notes = std::vector<RowChunk::Note>;

    void Prepare();
    void SelectOwners();
    void OpenPart(const Volumes& volumes);
    void AddFolders(RowChunk& chunk);
    Notes FindHidden() const;

    CCatalogue m_catalogue;
    const CatalogueSearch& m_search;
    std::deque<Volumes> m_parts;  // not searched yet
    bool m_isPrepared = false;
    bool m_hasRoot = true;     // the library tests --under
    bool m_hasOwners = false;  // the client tests --owner
    std::u16string m_owner;    // that the library tests
    OwnerLabels m_labels;      // that the client tests
    bool m_areOwnersRead = false;
    std::map<char16_t, CVolumeOwners> m_owners;  // by the letter of the volume
    std::future<Notes> m_hidden;                 // while the search runs
};

}  // namespace zorel::cli
