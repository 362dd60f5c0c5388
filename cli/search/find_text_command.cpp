#include <utility>
#include <vector>

#include "ZorelClient.h"
#include "cli/command_line/command.h"
#include "cli/command_line/paths.h"
#include "cli/generate/text_file_name.h"
#include "cli/output/waiting_line.h"
#include "cli/search/search_filters.h"
#include "cli/search/search_output.h"

namespace zorel::cli {

namespace {

class CFindTextCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("FILE", m_files, "Text data files with one line for each file")->required();
        m_filters.Declare(app);
        app.add_flag("--count", m_isCount, "Print only the number of files found");
        DeclareJson(app);
        app.footer(
            "The filters have the same meaning as for 'oibidx find'. A line does not contain the\n"
            "owner of its file: --owner selects the text data files with the owner in their\n"
            "names, such as vl.C.CORP.ann.0.txt. Exit code 1: nothing found; 3: a result could\n"
            "not be read.");
    }

    EExitCode Run(COutput& output) override {
        const std::vector<Text> texts = SelectedTexts();
        const auto library = client::CreateLibrary();
        CSearchOutput results(output, m_isJson, m_isCount);
        results.KeepEndings(m_filters.Endings());
        for (const Text& text : texts) {
            client::CComPtr<IOibTDFSearchTask> task;
            {
                const CWaitingLine waiting("Searching " + text.file);
                const client::CString path(AbsolutePath(text.file));
                SearchSpec& criteria = m_filters.ForText(text.volume);
                client::Check(library->FindInOibTDF2(path, &criteria, task.Put()), text.file);
            }
            results.Add(*task, text.file);
        }
        return results.Finish();
    }

private:
    struct Text {
        std::string file;
        std::u16string volume;
    };

    // The files of the owner; all files without --owner and for an empty owner.
    std::vector<Text> SelectedTexts() const {
        const std::string owner = m_filters.Owner().value_or("");
        std::vector<Text> texts;
        for (const std::string& file : m_files) {
            TextFileName name = ParseTextFileName(file);
            if (!owner.empty() && !name.owner) {
                throw CCommandError(file +
                                    ": --owner: The file name contains no owner, such as "
                                    "vl.VOLUME.DOMAIN.NAME.NUMBER.txt.");
            }
            if (owner.empty() || IsOwnedBy(*name.owner, ToUtf16(owner))) {
                texts.push_back({file, std::move(name.volume)});
            }
        }
        return texts;
    }

    std::vector<std::string> m_files;
    CSearchFilters m_filters;
    bool m_isCount = false;
};

}  // namespace

std::unique_ptr<CCommand> MakeFindTextCommand() {
    return std::make_unique<CFindTextCommand>();
}

}  // namespace zorel::cli
