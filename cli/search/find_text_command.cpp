#include <algorithm>
#include <utility>
#include <vector>

#include "ZorelText.h"
#include "cli/command_line/command.h"
#include "cli/generate/text_file_name.h"
#include "cli/search/search_filters.h"
#include "cli/search/search_output.h"
#include "cli/search/text_source.h"

namespace zorel::cli {

namespace {

class CFindTextCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("FILE", m_files, "Text data files with one line for each file")->required();
        m_filters.Declare(app);
        app.add_flag("--folders", m_hasFolders, "For 'oibidx find' only")->group("");
        m_output.Declare(app);
        DeclareJson(app);
        app.footer(
            "The filters have the same meaning as for 'oibidx find'. A line does not contain the\n"
            "owner of its file: --owner selects the text data files with the owner in their\n"
            "names, such as vl.C.CORP.ann.0.txt. Exit code 1: nothing found; 3: a result could\n"
            "not be read.");
    }

    EExitCode Run(COutput& output) override {
        if (m_hasFolders) {
            throw CCommandError(
                "--folders: text data files list no folders; search the catalogue "
                "with 'oibidx find'");
        }
        m_filters.Prepare();
        m_output.Prepare(m_isJson);
        std::vector<std::unique_ptr<CRowSource>> sources;
        for (const std::string& file : m_files) {
            const TextFileName name = ParseTextFileName(file);
            if (IsSelected(file, name)) {
                sources.push_back(
                    std::make_unique<CTextSource>(file, name.volume, m_filters, m_output));
            }
        }
        return m_output.Print(output, sources, "Searching " + m_files.front());
    }

private:
    // Whether the file is of one of the owners.
    bool IsSelected(const std::string& file, const TextFileName& name) const {
        const std::vector<std::string>& owners = m_filters.Owners();
        if (!owners.empty() && !name.owner) {
            throw CCommandError(file +
                                ": --owner: The file name contains no owner, such as "
                                "vl.VOLUME.DOMAIN.NAME.NUMBER.txt.");
        }
        return owners.empty() ||
               std::any_of(owners.begin(), owners.end(), [&](const std::string& owner) {
                   return IsOwnedBy(*name.owner, ToUtf16(owner));
               });
    }

    std::vector<std::string> m_files;
    CSearchFilters m_filters;
    CSearchOutput m_output;
    bool m_hasFolders = false;
};

}  // namespace

std::unique_ptr<CCommand> MakeFindTextCommand() {
    return std::make_unique<CFindTextCommand>();
}

}  // namespace zorel::cli
