#include <algorithm>

#include "cli/completion/completion_scripts.h"

namespace zorel::cli {

namespace {

// A word of the script; `special` are the characters that _arguments and _describe interpret.
std::string Quoted(const std::string& text, std::string_view special) {
    std::string quoted;
    for (const char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
            continue;
        }
        quoted += special.find(c) != special.npos ? std::string("\\") + c : std::string(1, c);
    }
    return quoted;
}

std::string FunctionOf(const CommandDescription& command) {
    std::string name = "_oibidx" + std::string(command.path.empty() ? "" : "_") + command.path;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

// "NAME:action" of _arguments.
std::string ActionOf(const ValueDescription& value) {
    const std::string name = Quoted(value.name, ":") + ":";
    switch (value.kind) {
        case EValueKind::File:
            return name + "_files";
        case EValueKind::Folder:
            return name + "_files -/";
        case EValueKind::Word:
            return name + "(" + Joined(value.words, " ") + ")";
        case EValueKind::Text:
            break;
    }
    return name + " ";
}

std::string OptionText(const OptionDescription& option) {
    const std::string summary = "[" + Quoted(option.summary, "[]:\\") + "]" +
                                (option.value ? ":" + ActionOf(*option.value) : "");
    const bool isRepeated = option.value && option.value->isRepeated;
    const std::string start = isRepeated ? "*" : "(" + Joined(option.names, " ") + ")";
    std::string text;
    for (const std::string& name : option.names) {
        const bool hasSign = option.value && name.starts_with("--");
        text += " \\\n        '" + start + name + (hasSign ? "=" : "") + summary + "'";
    }
    return text;
}

void AddGroup(const CommandDescription& command, std::string& text) {
    text += "\n" + FunctionOf(command) + "_commands() {\n    local -a commands=(\n";
    for (const CommandDescription& child : command.commands) {
        text += "        '" + child.name + ":" + Quoted(child.summary, ":\\") + "'\n";
    }
    text += "    )\n    _describe command commands\n}\n";
}

void AddCommand(const CommandDescription& command, std::string& text) {
    for (const CommandDescription& child : command.commands) {
        AddCommand(child, text);
    }
    const bool isGroup = !command.commands.empty();
    if (isGroup) {
        AddGroup(command, text);
    }
    text += "\n" + FunctionOf(command) + "() {\n    local line state\n    _arguments -C -s -S :";
    for (const OptionDescription& option : command.options) {
        text += OptionText(option);
    }
    int position = 1;
    for (const ValueDescription& operand : command.operands) {
        const std::string place = operand.isRepeated ? "*" : std::to_string(position++);
        text += " \\\n        '" + place + ":" + ActionOf(operand) + "'";
    }
    if (!isGroup) {
        text += "\n}\n";
        return;
    }
    text += " \\\n        '1: :" + FunctionOf(command) +
            "_commands' '*:: :->operands' && return\n" +
            "    [[ $state == operands ]] || return\n    case $line[1] in\n";
    for (const CommandDescription& child : command.commands) {
        text += "        " + child.name + ") " + FunctionOf(child) + " ;;\n";
    }
    text += "    esac\n}\n";
}

}  // namespace

std::string ZshCompletion(const CommandDescription& program) {
    std::string text = "#compdef oibidx\n";
    AddCommand(program, text);
    return text + "\n_oibidx \"$@\"\n";
}

}  // namespace zorel::cli
