#include <filesystem>
#include <utility>
#include <vector>

#include "ZorelText.h"
#include "client/library.h"
#include "command.h"
#include "search_filters.h"
#include "search_output.h"
#include "waiting_line.h"

namespace zorel::tools {

namespace {

// The volume in the name of a text data file, "vl.VOLUME.OWNER.NUMBER.txt"; C for others.
std::u16string VolumeOf(const std::filesystem::path& file) {
    const std::string name = file.filename().string();
    const std::size_t end = name.starts_with("vl.") ? name.find('.', 3) : std::string::npos;
    return end == std::string::npos ? u"C" : ToUtf16(name.substr(3, end - 3));
}

class CFindTextCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        app.add_option("FILE", m_files, "Text data files with one line for each file")->required();
        m_filters.Declare(app);
        app.add_flag("--count", m_isCount, "Print only how many files were found");
        DeclareJson(app);
        app.footer(
            "The filters mean what they mean to 'oibidx find'; a text data file does not tell\n"
            "who owns a file, its own name does, so --owner is refused. Exit code 1: nothing\n"
            "found.");
    }

    EExitCode Run(COutput& output) override {
        if (m_filters.HasOwner()) {
            throw CToolError(
                "--owner: a text data file does not hold owners; choose the files of "
                "the owner instead");
        }
        const client::CLibrary library;
        CSearchOutput results(output, m_isJson, m_isCount);
        results.KeepEndings(m_filters.Endings());
        for (const std::string& file : m_files) {
            client::CPointer<IOibTDFSearchTask> task;
            {
                const CWaitingLine waiting("Searching " + file);
                const std::string path = std::filesystem::absolute(file).string();
                client::Check(
                    library->FindInOibTDF2(client::CText(ToUtf16(path)).Get(),
                                           &m_filters.ForText(VolumeOf(file)), task.Out()),
                    file);
            }
            results.Add(*task.operator->(), file);
        }
        return results.Finish();
    }

private:
    std::vector<std::string> m_files;
    CSearchFilters m_filters;
    bool m_isCount = false;
};

}  // namespace

std::unique_ptr<CCommand> MakeFindTextCommand() {
    return std::make_unique<CFindTextCommand>();
}

}  // namespace zorel::tools
