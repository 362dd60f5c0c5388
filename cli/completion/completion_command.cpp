#include <string>

#include "cli/command_line/command.h"
#include "cli/completion/completion_scripts.h"

namespace zorel::cli {

namespace {

// Not shown by the help: the build runs it.
class CCompletionCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        m_app = &app;
        app.group("");
        app.add_option("SHELL", m_shell, "bash, zsh or fish")
            ->required()
            ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    }

    EExitCode Run(COutput& output) override {
        const CommandDescription program = Describe(*m_app->get_parent());
        if (m_shell == "bash") {
            output.Write(BashCompletion(program));
        } else if (m_shell == "zsh") {
            output.Write(ZshCompletion(program));
        } else {
            output.Write(FishCompletion(program));
        }
        return kExitOk;
    }

private:
    CLI::App* m_app = nullptr;
    std::string m_shell;
};

}  // namespace

std::unique_ptr<CCommand> MakeCompletionCommand() {
    return std::make_unique<CCompletionCommand>();
}

}  // namespace zorel::cli
