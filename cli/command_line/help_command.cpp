#include <string>
#include <vector>

#include "cli/command_line/command.h"
#include "cli/command_line/command_error.h"
#include "cli/command_line/command_group.h"

namespace zorel::cli {

namespace {

class CHelpCommand : public CCommand {
public:
    void Declare(CLI::App& app) override {
        m_app = &app;
        app.add_option("COMMAND", m_names, "Command, and subcommand if it has some");
    }

    EExitCode Run(COutput& output) override {
        const CLI::App* described = m_app->get_parent();
        for (const std::string& name : m_names) {
            const auto found = described->get_subcommands(
                [&](const CLI::App* command) { return command->get_name() == name; });
            if (found.empty()) {
                throw CCommandError("help: there is no command '" + FullName(*described) + " " +
                                    name + "'");
            }
            described = found.front();
        }
        output.Write(described->get_formatter()->make_help(described, FullName(*described),
                                                           CLI::AppFormatMode::Normal));
        return kExitOk;
    }

private:
    CLI::App* m_app = nullptr;
    std::vector<std::string> m_names;
};

}  // namespace

std::unique_ptr<CCommand> MakeHelpCommand() {
    return std::make_unique<CHelpCommand>();
}

}  // namespace zorel::cli
