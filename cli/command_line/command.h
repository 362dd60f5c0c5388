// The commands of the client.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <memory>

#include "cli/command_line/command_error.h"
#include "cli/output/output.h"

namespace zorel::cli {

enum EExitCode : int {
    kExitOk = 0,
    kExitNothingFound = 1,
    kExitFailure = 2,
    kExitIncomplete = 3,  // done with omissions
};

// One command. Declare is called once, before the arguments are parsed into the members of
// the command; Run is called at most once, after that. Run throws std::exception on failure.
class CCommand {
public:
    virtual ~CCommand() = default;

    virtual void Declare(CLI::App& app) = 0;
    virtual EExitCode Run(COutput& output) = 0;

protected:
    void DeclareJson(CLI::App& app) {
        app.add_flag("--json", m_isJson, "Print JSON, one object per line");
    }

    bool m_isJson = false;
};

std::unique_ptr<CCommand> MakeScanCommand();
std::unique_ptr<CCommand> MakeInfoCommand();
std::unique_ptr<CCommand> MakeBrowseCommand();
std::unique_ptr<CCommand> MakeMatchCommand();
std::unique_ptr<CCommand> MakeGenerateCommand();
std::unique_ptr<CCommand> MakeFindCommand();
std::unique_ptr<CCommand> MakeFindTextCommand();
std::unique_ptr<CCommand> MakeFingerprintCommand();
std::unique_ptr<CCommand> MakeMetaCommand();
std::unique_ptr<CCommand> MakeSessionCommand();
std::unique_ptr<CCommand> MakePublicationCommand();
std::unique_ptr<CCommand> MakeHelpCommand();
std::unique_ptr<CCommand> MakeCompletionCommand();

}  // namespace zorel::cli
