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

// A command that consists of subcommands: it runs the one that the command line names. The
// program itself is such a command.
class CCommandGroup : public CCommand {
public:
    struct Entry {
        const char* name;
        const char* summary;
        std::unique_ptr<CCommand> (*make)();
        const char* example =
            nullptr;  // arguments; shown by the help and when operands are missing
    };

    explicit CCommandGroup(std::vector<Entry> entries) : m_entries(std::move(entries)) {}

    // Declares the subcommands, each with the option --verbose.
    void Declare(CLI::App& app) override;
    // A subcommand has been parsed.
    EExitCode Run(COutput& output) override;

private:
    std::vector<Entry> m_entries;
    std::vector<std::pair<CLI::App*, std::unique_ptr<CCommand>>> m_commands;
};

// "oibidx meta set" for the subcommand `set` of `meta`.
std::string FullName(const CLI::App& app);

// The command line of the command's example; empty when it has none.
std::string ExampleOf(const CLI::App& app);

// Declares the option --verbose.
void DeclareVerbose(CLI::App& app);

}  // namespace zorel::cli
