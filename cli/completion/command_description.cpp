#include "cli/completion/command_description.h"

#include <algorithm>
#include <string_view>

namespace zorel::cli {

namespace {

struct NamedKind {
    std::string_view name;
    EValueKind kind;
};

// Values with other names are texts.
constexpr NamedKind kNamedKinds[] = {
    {"FILE", EValueKind::File},      {"DATAFILE", EValueKind::File}, {"SUMMARY", EValueKind::File},
    {"CATALOGUE", EValueKind::File}, {"FOLDER", EValueKind::Folder},
};

constexpr std::string_view kCommandOperand = "COMMAND";
constexpr std::string_view kVolumeName = "C";

std::vector<std::string> Letters() {
    std::vector<std::string> letters;
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
        letters.emplace_back(1, letter);
    }
    return letters;
}

// The words of "NAME:{auto,always,never}"; none for another type.
std::vector<std::string> WordsOf(std::string_view type) {
    std::vector<std::string> words;
    const std::size_t start = type.find('{');
    const std::size_t end = type.find('}');
    if (start == type.npos || end == type.npos) {
        return words;
    }
    words.emplace_back();
    for (const char c : type.substr(start + 1, end - start - 1)) {
        if (c == ',') {
            words.emplace_back();
        } else {
            words.back() += c;
        }
    }
    return words;
}

ValueDescription DescribeValue(const CLI::Option& option, const std::string& name,
                               const CLI::App& program) {
    ValueDescription value{name, EValueKind::Text, WordsOf(option.get_type_name()),
                           option.get_items_expected_max() > 1};
    for (const NamedKind& named : kNamedKinds) {
        if (named.name == name) {
            value.kind = named.kind;
        }
    }
    if (name == kVolumeName) {
        value.words = Letters();
    } else if (name == kCommandOperand) {
        for (const CLI::App* command : program.get_subcommands({})) {
            if (!command->get_group().empty()) {
                value.words.push_back(command->get_name());
            }
        }
    }
    if (!value.words.empty()) {
        value.kind = EValueKind::Word;
    }
    return value;
}

OptionDescription DescribeOption(const CLI::Option& option, const CLI::App& program) {
    OptionDescription described{{}, option.get_description(), {}};
    std::replace(described.summary.begin(), described.summary.end(), '\n', ' ');
    for (const std::string& name : option.get_snames()) {
        described.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        described.names.push_back("--" + name);
    }
    if (option.get_items_expected_max() > 0) {
        const std::string type = option.get_type_name();
        described.value = DescribeValue(option, type.substr(0, type.find(':')), program);
    }
    return described;
}

CommandDescription DescribeCommand(const CLI::App& app, const CLI::App& program) {
    CommandDescription described{app.get_name(), "", app.get_description(), {}, {}, {}};
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_positional()) {
            described.operands.push_back(DescribeValue(*option, option->get_name(), program));
        } else if (!option->get_group().empty()) {
            described.options.push_back(DescribeOption(*option, program));
        }
    }
    for (const CLI::App* command : app.get_subcommands({})) {
        if (!command->get_group().empty()) {
            described.commands.push_back(DescribeCommand(*command, program));
        }
    }
    return described;
}

void SetPaths(CommandDescription& command, const std::string& path) {
    command.path = path;
    for (CommandDescription& child : command.commands) {
        SetPaths(child, path + (path.empty() ? "" : " ") + child.name);
    }
}

}  // namespace

CommandDescription Describe(const CLI::App& program) {
    CommandDescription described = DescribeCommand(program, program);
    SetPaths(described, "");
    return described;
}

std::string Joined(const std::vector<std::string>& words, const std::string& separator) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : separator) + word;
    }
    return text;
}

std::vector<std::string> NamesOf(const std::vector<CommandDescription>& commands) {
    std::vector<std::string> names;
    for (const CommandDescription& command : commands) {
        names.push_back(command.name);
    }
    return names;
}

}  // namespace zorel::cli
