#include "cli/command_line/command_group.h"

#include "cli/command_line/failure.h"

namespace zorel::cli {

namespace {

constexpr std::string_view kExampleLabel = "Example: ";

// The example is the last line of the footer.
void AddExample(CLI::App& app, const char* example) {
    const std::string footer = app.get_footer();
    app.footer(footer + (footer.empty() ? "" : "\n") + std::string(kExampleLabel) + "oibidx " +
               example);
}

// Every operand is a text; the help shows its name only.
void HideTypesOfOperands(CLI::App& app) {
    for (CLI::Option* option : app.get_options()) {
        if (option->get_positional() && option->get_type_name() == "TEXT") {
            option->type_name("");
        }
    }
}

}  // namespace

void CCommandGroup::Declare(CLI::App& app) {
    for (const Entry& entry : m_entries) {
        CLI::App* const subcommand = app.add_subcommand(entry.name, entry.summary);
        m_commands.emplace_back(subcommand, entry.make());
        m_commands.back().second->Declare(*subcommand);
        DeclareVerbose(*subcommand);
        HideTypesOfOperands(*subcommand);
        if (entry.example != nullptr) {
            AddExample(*subcommand, entry.example);
        }
    }
    app.require_subcommand(1);
}

EExitCode CCommandGroup::Run(COutput& output) {
    for (const auto& [app, command] : m_commands) {
        if (app->parsed()) {
            return command->Run(output);
        }
    }
    return kExitFailure;
}

std::string FullName(const CLI::App& app) {
    const CLI::App* const parent = app.get_parent();
    return (parent == nullptr ? "" : FullName(*parent) + " ") + app.get_name();
}

std::string ExampleOf(const CLI::App& app) {
    const std::string footer = app.get_footer();
    const std::size_t at = footer.rfind(kExampleLabel);
    return at == std::string::npos ? "" : footer.substr(at + kExampleLabel.size());
}

void DeclareVerbose(CLI::App& app) {
    app.add_flag_callback(
        "--verbose", [] { SetVerbose(true); }, "Print the library's own text of a failure, too");
}

}  // namespace zorel::cli
