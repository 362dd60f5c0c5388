#include <filesystem>

#include "ZorelClient.h"
#include "cli/command_line/command.h"
#include "cli/command_line/paths.h"
#include "cli/output/waiting_line.h"
#include "cli/search/search_filters.h"
#include "cli/search/search_output.h"

namespace zorel::cli {

namespace {

class CFindCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("CATALOGUE", m_catalogue, "Folder of a catalogue, or its summary.txt")
            ->required();
        m_filters.Declare(app);
        app.add_flag("--count", m_isCount, "Print only the number of files found");
        DeclareJson(app);
        app.footer(
            "Searches the data files of all volumes of the catalogue. A pattern without * matches\n"
            "anywhere in the name; no pattern has to match up to the name's end. Times are UTC:\n"
            "2024-03-01, 2024-03-01T12:30:00, or an age: 12h, 30d, 2w. Exit code 1: nothing\n"
            "found; 3: some results could not be read, they are reported by their positions.");
    }

    EExitCode Run(COutput& output) override {
        SearchSpec& criteria = m_filters.ForCatalogue();
        client::CComPtr<IOibBDFSearchTask> task;
        {
            const CWaitingLine waiting("Searching " + m_catalogue);
            const client::CString folder(AbsolutePath(Folder()));
            client::Check(client::CreateLibrary()->FindInOibBDF(folder, task.Put()), m_catalogue);
            client::Check(task->Find(&criteria), m_catalogue);
        }
        CSearchOutput results(output, m_isJson, m_isCount);
        results.KeepVolume(m_filters.Volume());
        results.Add(*task, m_catalogue);
        return results.Finish();
    }

private:
    std::string Folder() const {
        const std::filesystem::path path = std::filesystem::absolute(m_catalogue);
        const bool isSummary = path.filename() == "summary.txt" && !is_directory(path);
        return (isSummary ? path.parent_path() : path).string();
    }

    std::string m_catalogue;
    CSearchFilters m_filters;
    bool m_isCount = false;
};

}  // namespace

std::unique_ptr<CCommand> MakeFindCommand() {
    return std::make_unique<CFindCommand>();
}

}  // namespace zorel::cli
