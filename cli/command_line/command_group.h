#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/command_line/command.h"

namespace zorel::cli {

template <class Command>
std::unique_ptr<CCommand> MakeCommand() {
    return std::make_unique<Command>();
}

// A command that consists of subcommands: it runs the one that the command line names.
class CCommandGroup : public CCommand {
public:
    struct Entry {
        const char* name;
        const char* summary;
        std::unique_ptr<CCommand> (*make)();
    };

    explicit CCommandGroup(std::vector<Entry> entries) : m_entries(std::move(entries)) {}

    void Declare(CLI::App& app) override {
        app.require_subcommand(1);
        for (const Entry& entry : m_entries) {
            CLI::App* subcommand = app.add_subcommand(entry.name, entry.summary);
            m_commands.emplace_back(subcommand, entry.make());
            m_commands.back().second->Declare(*subcommand);
        }
    }

    EExitCode Run(COutput& output) override {
        for (const auto& [app, command] : m_commands) {
            if (app->parsed()) {
                return command->Run(output);
            }
        }
        return kExitFailure;
    }

private:
    std::vector<Entry> m_entries;
    std::vector<std::pair<CLI::App*, std::unique_ptr<CCommand>>> m_commands;
};

}  // namespace zorel::cli
