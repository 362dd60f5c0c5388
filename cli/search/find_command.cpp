#include <algorithm>
#include <utility>
#include <vector>

#include "ZorelClient.h"
#include "cli/catalogue/volume_view.h"
#include "cli/command_line/command.h"
#include "cli/command_line/failure.h"
#include "cli/command_line/paths.h"
#include "cli/search/catalogue_source.h"
#include "cli/search/search_filters.h"
#include "cli/search/search_output.h"

namespace zorel::cli {

namespace {

class CFindCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("CATALOGUE", m_paths,
                       "Catalogues: a folder, its summary.txt or one data file each")
            ->required();
        m_filters.Declare(app);
        app.add_flag("--folders", m_hasFolders, "Find folders, too");
        app.add_flag("--skip-unreadable", m_isUnreadableSkipped,
                     "Name volumes that cannot be read and search the others");
        m_output.Declare(app);
        DeclareJson(app);
        app.footer(
            "Searches the data files of all volumes of the catalogues. Several patterns of --name\n"
            "and --glob: one of them has to match. A pattern of --name without * matches anywhere\n"
            "in the name, and none has to match up to the name's end; a pattern of --glob matches\n"
            "the whole name. Times are UTC: 2024-03-01, 2024-03-01T12:30:00, or an age: 12h, 30d,\n"
            "2w, 1y. A folder has no time, size, owner and ending: filters for these leave it "
            "out.\n"
            "Exit code 1: nothing found; 3: some results or volumes could not be read.");
    }

    EExitCode Run(COutput& output) override {
        m_filters.Prepare();
        m_output.Prepare(m_isJson);
        std::vector<CCatalogue> catalogues;
        for (const std::string& path : m_paths) {
            catalogues.emplace_back(path);
        }
        std::optional<CVolumeFolders> folders;
        if (m_isUnreadableSkipped ||
            !std::all_of(catalogues.begin(), catalogues.end(), IsCatalogueFolder)) {
            folders.emplace();
        }
        const CatalogueSearch search = {m_filters, m_output, folders ? &*folders : nullptr,
                                        m_hasFolders, m_isUnreadableSkipped};
        std::vector<std::unique_ptr<CRowSource>> sources;
        for (const CCatalogue& catalogue : catalogues) {
            sources.push_back(std::make_unique<CCatalogueSource>(catalogue, search));
        }
        try {
            return m_output.Print(output, sources, "Searching " + m_paths.front());
        } catch (const client::CError& error) {
            folders.reset();
            for (const CCatalogue& catalogue : catalogues) {
                if (catalogue.Path() == error.Subject()) {
                    CheckVolumes(catalogue);
                }
            }
            throw;
        }
    }

private:
    // Throws client::CError with the data file of the first volume that cannot be searched.
    static void CheckVolumes(const CCatalogue& catalogue) {
        for (const CCatalogue::Volume& volume : catalogue.Volumes()) {
            const CVolumeView view({volume});
            client::CComPtr<IOibBDFSearchTask> task;
            SearchSpec all{};
            client::Check(client::CreateLibrary()->FindInOibBDF(
                              client::CString(AbsolutePath(view.Folder())), task.Put()),
                          volume.dataFile);
            client::Check(task->Find(&all), volume.dataFile);
        }
    }

    std::vector<std::string> m_paths;
    CSearchFilters m_filters;
    CSearchOutput m_output;
    bool m_hasFolders = false;
    bool m_isUnreadableSkipped = false;
};

}  // namespace

std::unique_ptr<CCommand> MakeFindCommand() {
    return std::make_unique<CFindCommand>();
}

}  // namespace zorel::cli
