#include "cli/command_line/parse_failure.h"

#include <algorithm>
#include <vector>

#include "cli/command_line/command_group.h"
#include "cli/command_line/suggestion.h"

namespace zorel::cli {

namespace {

using Options = std::vector<const CLI::Option*>;

std::vector<const CLI::App*> SubcommandsOf(const CLI::App& app) {
    return app.get_subcommands(
        [](const CLI::App* command) { return !command->get_group().empty(); });
}

// The command that the arguments have reached.
const CLI::App& ParsedCommand(const CLI::App& program) {
    const CLI::App* command = &program;
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
    }
    return *command;
}

bool IsOption(const std::string& argument) {
    return argument.size() > 1 && argument.front() == '-';
}

std::string WithoutDashes(const std::string& option) {
    return option.substr(std::min(option.find_first_not_of('-'), option.size()));
}

// "list" of the program is near to "meta list" and "session list".
void AddCommands(const CLI::App& app, const std::string& prefix, std::vector<Candidate>& names) {
    for (const CLI::App* command : SubcommandsOf(app)) {
        names.push_back({prefix + command->get_name(), command->get_name()});
        AddCommands(*command, prefix + command->get_name() + " ", names);
    }
}

std::string UnknownCommand(const CLI::App& app, const std::string& word) {
    std::vector<Candidate> names;
    AddCommands(app, "", names);
    return "unknown command '" + word + "'" + Suggestion(word, names) + "\n'" + FullName(app) +
           " --help' lists the commands.";
}

std::string UnknownOption(const CLI::App& app, const std::string& argument) {
    const std::string option = argument.substr(0, argument.find('='));
    std::vector<Candidate> names;
    for (const CLI::Option* known : app.get_options()) {
        for (const std::string& name : known->get_lnames()) {
            names.push_back({"--" + name, name});
        }
        for (const std::string& name : known->get_snames()) {
            names.push_back({"-" + name, name});
        }
    }
    return "unknown option '" + option + "'" + Suggestion(WithoutDashes(option), names) + "\n'" +
           FullName(app) + " --help' lists the options.";
}

// With the names of the operands.
std::string Usage(const CLI::App& app) {
    std::string usage = FullName(app);
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) {
            usage += " " + option->get_name();
        }
    }
    return usage;
}

std::string Unexpected(const CLI::App& app, const std::string& argument) {
    if (!SubcommandsOf(app).empty()) {
        return UnknownCommand(app, argument);
    }
    if (IsOption(argument)) {
        return UnknownOption(app, argument);
    }
    return "unexpected operand '" + argument + "'\nUsage: " + Usage(app);
}

std::string Enumerated(const std::vector<std::string>& texts) {
    std::string list;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        list += (i == 0 ? "" : i + 1 == texts.size() ? " and " : ", ") + texts[i];
    }
    return list;
}

std::string Missing(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : SubcommandsOf(app)) {
        names.push_back(command->get_name());
    }
    const bool isProgram = app.get_parent() == nullptr;
    if (!names.empty()) {
        return (isProgram ? "no command is given"
                          : "no command of '" + FullName(app) + "' is given") +
               std::string("\nUsage: ") + FullName(app) + " COMMAND [OPTION]... [OPERAND]...\n" +
               "Commands: " + Enumerated(names) + ". '" + FullName(app) +
               " --help' describes them.";
    }
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_required() && option->count() == 0) {
            const bool isOperand = option->get_positional();
            names.push_back(option->get_name() + (isOperand ? "" : " " + option->get_type_name()));
        }
    }
    const std::string example = ExampleOf(app);
    return "missing: " + Enumerated(names) +
           (example.empty() ? "\nUsage: " + Usage(app) : "\nExample: " + example);
}

// The option that the message of CLI11 begins with; null for other messages.
const CLI::Option* OptionOf(const CLI::App& app, const std::string& message) {
    const Options options = app.get_options();
    const auto found = std::find_if(options.begin(), options.end(), [&](const CLI::Option* option) {
        const std::string name = option->get_name();
        return message.starts_with(name + ":") || message.find(": " + name + " = ") != message.npos;
    });
    return found == options.end() ? nullptr : *found;
}

}  // namespace

std::string ExplainParse(const CLI::App& program, const CLI::ParseError& error) {
    const CLI::App& app = ParsedCommand(program);
    const std::string message = error.what();
    if (const std::vector<std::string> unknown = program.remaining(true); !unknown.empty()) {
        const auto option = std::find_if(unknown.begin(), unknown.end(), IsOption);
        const bool isCommand = !SubcommandsOf(app).empty() && !IsOption(unknown.front());
        return isCommand || option == unknown.end() ? Unexpected(app, unknown.front())
                                                    : UnknownOption(app, *option);
    }
    const bool isMissing = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
    if (isMissing) {
        return Missing(app);
    }
    const CLI::Option* const option = OptionOf(app, message);
    if (option != nullptr && dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        return option->get_name() + ": a value is missing: " + option->get_type_name();
    }
    if (option != nullptr && dynamic_cast<const CLI::ConversionError*>(&error) != nullptr) {
        return option->get_name() + (option->get_items_expected_max() == 0
                                         ? ": the option takes no value"
                                         : ": the value has a wrong form");
    }
    return message;
}

}  // namespace zorel::cli
