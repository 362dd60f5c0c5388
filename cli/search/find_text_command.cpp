#include <filesystem>
#include <utility>
#include <vector>

#include "ZorelText.h"
#include "cli/command_line/command.h"
#include "cli/generate/text_file_name.h"
#include "cli/library/library.h"
#include "cli/output/waiting_line.h"
#include "cli/search/search_filters.h"
#include "cli/search/search_output.h"

namespace zorel::tools {

namespace {

class CFindTextCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("FILE", m_files, "Text data files with one line for each file")->required();
        m_filters.Declare(app);
        app.add_flag("--count", m_isCount, "Print only how many files were found");
        DeclareJson(app);
        app.footer(
            "The filters mean what they mean to 'oibidx find'. A line does not tell who owns a\n"
            "file; --owner takes the text data files that have the owner in their names, as\n"
            "in vl.C.CORP.ann.0.txt, and passes over the others. Exit code 1: nothing found.");
    }

    EExitCode Run(COutput& output) override {
        const std::vector<Text> texts = WantedTexts();
        const client::CLibrary library;
        CSearchOutput results(output, m_isJson, m_isCount);
        results.KeepEndings(m_filters.Endings());
        for (const Text& text : texts) {
            client::CPointer<IOibTDFSearchTask> task;
            {
                const CWaitingLine waiting("Searching " + text.file);
                const std::string path = std::filesystem::absolute(text.file).string();
                client::Check(library->FindInOibTDF2(client::CText(ToUtf16(path)).Get(),
                                                     &m_filters.ForText(text.volume), task.Out()),
                              text.file);
            }
            results.Add(*task.operator->(), text.file);
        }
        return results.Finish();
    }

private:
    struct Text {
        std::string file;
        std::u16string volume;
    };

    // Those of the owner, when one is asked for; an empty one is none.
    std::vector<Text> WantedTexts() const {
        const std::string owner = m_filters.Owner().value_or("");
        std::vector<Text> texts;
        for (const std::string& file : m_files) {
            TextFileName name = ParseTextFileName(file);
            if (!owner.empty() && !name.owner) {
                throw CToolError(file +
                                 ": --owner: The name does not tell an owner, as in "
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

}  // namespace zorel::tools
