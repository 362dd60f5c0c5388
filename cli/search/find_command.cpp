#include <filesystem>

#include "ZorelText.h"
#include "cli/command_line/command.h"
#include "cli/library/library.h"
#include "cli/output/waiting_line.h"
#include "cli/search/search_filters.h"
#include "cli/search/search_output.h"

namespace zorel::tools {

namespace {

class CFindCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("CATALOGUE", m_catalogue, "Folder of a catalogue, or its summary.txt")
            ->required();
        m_filters.Declare(app);
        app.add_flag("--count", m_isCount, "Print only how many files were found");
        DeclareJson(app);
        app.footer(
            "Searches the data files of all volumes of the catalogue. A pattern without stars\n"
            "may stand anywhere in the name; nothing is bound to the name's end. Times are\n"
            "UTC: 2024-03-01, 2024-03-01T12:30:00, or an age: 12h, 30d, 2w. Exit code 1:\n"
            "nothing found.");
    }

    EExitCode Run(COutput& output) override {
        SearchSpec& criteria = m_filters.ForCatalogue();
        const client::CLibrary library;
        client::CPointer<IOibBDFSearchTask> task;
        {
            const CWaitingLine waiting("Searching " + m_catalogue);
            client::Check(library->FindInOibBDF(client::CText(ToUtf16(Folder())).Get(), task.Out()),
                          m_catalogue);
            client::Check(task->Find(&criteria), m_catalogue);
        }
        CSearchOutput results(output, m_isJson, m_isCount);
        results.KeepVolume(m_filters.Volume());
        results.Add(*task.operator->(), m_catalogue);
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

}  // namespace zorel::tools
