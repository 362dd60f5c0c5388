#include "cli/search/catalogue_source.h"

#include <algorithm>
#include <set>
#include <utility>

#include "ZorelText.h"
#include "cli/catalogue/volume_list.h"
#include "cli/command_line/failure.h"
#include "cli/command_line/paths.h"
#include "cli/output/text_format.h"
#include "cli/volume/volume_tables.h"

namespace zorel::cli {

namespace {

constexpr std::u16string_view kNoOwner = u"-";  // as listings print it

// The letter that paths of the volume begin with, folded.
char16_t LetterOf(const CCatalogue::Volume& volume) {
    return Folded(ToUtf16(volume.name.substr(0, 1)))[0];
}

std::u16string RootOf(const CCatalogue::Volume& volume) {
    return ToUtf16(volume.name.substr(0, 1)) + u":\\";
}

// The call `read` for each volume whose tables can be read: the search reports the others.
template <class Read>
void ForReadable(const std::vector<CCatalogue::Volume>& volumes, Read&& read) {
    for (const CCatalogue::Volume& volume : volumes) {
        try {
            read(volume);
        } catch (const client::CError&) {
            continue;
        }
    }
}

}  // namespace

CCatalogueSource::CCatalogueSource(CCatalogue catalogue, const CatalogueSearch& search)
    : CTaskSource(search.output),
      m_catalogue(std::move(catalogue)),
      m_search(search),
      m_parts{m_catalogue.Volumes()} {}

// Another thread reads the folders for the notes while this one searches.
bool CCatalogueSource::Fetch(RowChunk& chunk) {
    if (!std::exchange(m_isPrepared, true)) {
        Prepare();
        if (m_search.output.HasRows()) {
            m_hidden = std::async(std::launch::async, [this] { return FindHidden(); });
        }
        if (m_search.hasFolders && !m_search.filters.IsForFilesOnly()) {
            AddFolders(chunk);
            return true;
        }
    }
    if (CTaskSource::Fetch(chunk)) {
        return true;
    }
    if (m_hidden.valid()) {
        chunk.notes = m_hidden.get();
        return true;
    }
    return false;
}

void CCatalogueSource::Prepare() {
    if (!m_search.filters.Owners().empty()) {
        SelectOwners();
    }
    if (!m_search.filters.Root(u"C").empty()) {
        // The library finds only one of several folders whose names differ in letter case.
        ForReadable(m_catalogue.Volumes(), [&](const CCatalogue::Volume& volume) {
            m_hasRoot = m_hasRoot &&
                        FindHiddenFolders(ReadFolderTable(volume.dataFile), RootOf(volume)).empty();
        });
    }
}

// One account that every volume has at most once is a criterion of the library.
void CCatalogueSource::SelectOwners() {
    std::set<std::u16string> accounts;
    ForReadable(m_catalogue.Volumes(), [&](const CCatalogue::Volume& volume) {
        const CVolumeOwners owners(volume.dataFile);
        auto& labels = m_labels[LetterOf(volume)];
        for (const std::string& text : m_search.filters.Owners()) {
            const std::vector<std::size_t> found = owners.Find(ToUtf16(text));
            for (const std::size_t owner : found) {
                const idxdata::OwnerEntry& entry = owners.Table()[owner];
                labels.insert(owners.LabelOf(owner));
                accounts.insert(Folded(entry.domain) + u'\\' + Folded(entry.name));
                m_hasOwners = m_hasOwners || found.size() > 1 || !entry.IsKnown() ||
                              entry.domain.find(u'\\') != std::u16string_view::npos;
            }
            if (found.empty() && ToUtf16(text) == kNoOwner) {
                labels.insert(u"");
                m_hasOwners = true;
            }
        }
    });
    m_hasOwners = m_hasOwners || accounts.size() != 1;
    m_owner = m_hasOwners ? u"" : *accounts.begin();
}

bool CCatalogueSource::Open(RowChunk& chunk) {
    while (!m_parts.empty()) {
        const Volumes volumes = std::move(m_parts.front());
        m_parts.pop_front();
        try {
            OpenPart(volumes);
            return true;
        } catch (const client::CError& error) {
            if (!m_search.isUnreadableSkipped) {
                throw;
            }
            if (volumes.size() == 1) {
                chunk.errors.push_back(Explain(error).text);
                continue;
            }
        }
        for (auto volume = volumes.rbegin(); volume != volumes.rend(); ++volume) {
            m_parts.push_front({*volume});
        }
    }
    return !chunk.errors.empty();
}

void CCatalogueSource::OpenPart(const Volumes& volumes) {
    const bool isWhole = volumes.size() == m_catalogue.Volumes().size();
    const std::string subject = isWhole ? m_catalogue.Path() : volumes.front().dataFile;
    const bool isFolder = isWhole && IsCatalogueFolder(m_catalogue);
    const std::string folder = isFolder ? m_catalogue.Folder() : m_search.folders->Add(volumes);
    client::CComPtr<IOibBDFSearchTask> task;
    client::Check(
        client::CreateLibrary()->FindInOibBDF(client::CString(AbsolutePath(folder)), task.Put()),
        subject);
    SearchCriteria criteria;
    m_search.filters.FillForCatalogue(criteria, m_hasRoot, m_owner);
    client::Check(task->Find(&criteria.record), subject);
    SetTask(client::CComPtr<IOibTDFSearchTask>(task.Get()), subject,
            std::make_unique<CRowFilter>(
                m_search.filters, m_hasOwners ? &m_labels : nullptr,
                m_hasRoot ? CRowFilter::ETested::NameAndFolder : CRowFilter::ETested::Name));
}

std::u16string_view CCatalogueSource::OwnerText(const SearchResult& row) {
    const std::u16string_view label = client::ViewOf(row.Owner);
    if (!label.starts_with(u"unkn")) {
        return label;
    }
    if (!std::exchange(m_areOwnersRead, true)) {
        ForReadable(m_catalogue.Volumes(), [this](const CCatalogue::Volume& volume) {
            m_owners.try_emplace(LetterOf(volume), volume.dataFile);
        });
    }
    const auto owners = m_owners.find(Folded(client::ViewOf(row.FileFullName).substr(0, 1))[0]);
    return owners != m_owners.end() ? owners->second.TextOfLabel(label) : label;
}

void CCatalogueSource::AddFolders(RowChunk& chunk) {
    CRowWriter writer = m_search.output.NewWriter();
    CRowFilter filter(m_search.filters, nullptr, CRowFilter::ETested::Nothing);
    ForReadable(m_catalogue.Volumes(), [&](const CCatalogue::Volume& volume) {
        const idxdata::CFolderTable folders = ReadFolderTable(volume.dataFile);
        const std::u16string root = RootOf(volume);
        for (std::size_t i = 1; i < folders.Count(); ++i) {
            const std::u16string path = PathOfFolder(folders, i, root);
            if (!path.empty() && filter.AcceptsFolder(path)) {
                FileRow row;
                row.path = path;
                row.isFolder = true;
                m_search.output.Append(chunk, writer, row);
            }
        }
    });
}

CCatalogueSource::Notes CCatalogueSource::FindHidden() const {
    Notes notes;
    ForReadable(m_catalogue.Volumes(), [&](const CCatalogue::Volume& volume) {
        for (HiddenFolder& hidden :
             FindHiddenFolders(ReadFolderTable(volume.dataFile), RootOf(volume))) {
            notes.push_back({std::move(hidden.path), std::move(hidden.reason)});
        }
    });
    return notes;
}

}  // namespace zorel::cli
