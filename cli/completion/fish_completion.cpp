#include <algorithm>

#include "cli/completion/completion_scripts.h"

namespace zorel::cli {

namespace {

std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return quoted + "'";
}

// The options of `complete` for a value.
std::string ValueText(const ValueDescription& value) {
    switch (value.kind) {
        case EValueKind::File:
            return " -r -F";
        case EValueKind::Folder:
            return " -x -a '(__fish_complete_directories)'";
        case EValueKind::Word:
            return " -x -a " + Quoted(Joined(value.words, " "));
        case EValueKind::Text:
            break;
    }
    return " -x";
}

std::string OptionText(const OptionDescription& option) {
    std::string text;
    for (const std::string& name : option.names) {
        const bool isLong = name.starts_with("--");
        text += (isLong ? " -l " : " -s ") + name.substr(isLong ? 2 : 1);
    }
    return text + (option.value ? ValueText(*option.value) : "") + " -d " + Quoted(option.summary);
}

std::string OperandText(const ValueDescription& operand) {
    switch (operand.kind) {
        case EValueKind::File:
            return " -F";
        case EValueKind::Folder:
            return " -a '(__fish_complete_directories)'";
        case EValueKind::Word:
            return " -a " + Quoted(Joined(operand.words, " "));
        case EValueKind::Text:
            break;
    }
    return "";
}

void AddCommand(const CommandDescription& command, std::string& text) {
    const std::string start =
        "complete -c oibidx -n " + Quoted("__oibidx_is " + Quoted(command.path));
    for (const OptionDescription& option : command.options) {
        text += start + OptionText(option) + "\n";
    }
    // The position of an operand is not known.
    std::vector<std::string> known;
    for (const ValueDescription& operand : command.operands) {
        const std::string operandText = OperandText(operand);
        if (!operandText.empty() &&
            std::find(known.begin(), known.end(), operandText) == known.end()) {
            known.push_back(operandText);
            text += start + operandText + "\n";
        }
    }
    for (const CommandDescription& child : command.commands) {
        text += start + " -a " + child.name + " -d " + Quoted(child.summary) + "\n";
    }
    for (const CommandDescription& child : command.commands) {
        AddCommand(child, text);
    }
}

}  // namespace

std::string FishCompletion(const CommandDescription& program) {
    std::vector<std::string> groups;
    for (const CommandDescription& command : program.commands) {
        if (!command.commands.empty()) {
            groups.push_back(command.name);
        }
    }
    std::string text =
        "# fish completion for oibidx\n\n"
        "# Whether the words before the cursor name the command $argv.\n"
        "function __oibidx_is\n"
        "    set -l words (string match -v -- '-*' (commandline -opc)[2..-1])\n"
        "    set -l command \"$words[1]\"\n"
        "    if contains -- $command " +
        Joined(groups, " ") +
        "\n"
        "        set command (string trim -- \"$command $words[2]\")\n"
        "    end\n"
        "    test \"$command\" = \"$argv\"\n"
        "end\n\n"
        "complete -c oibidx -f\n";
    AddCommand(program, text);
    return text;
}

}  // namespace zorel::cli
