#include "cli/completion/completion_scripts.h"

namespace zorel::cli {

namespace {

// The functions that complete a word. A kind of values is "file", "folder", "text", or "words"
// and the words.
constexpr const char* kFunctions = R"(
# Completes a value of the kind $1. The default of the shell completes names of files.
_oibidx_complete()
{
    case $1 in
        file) return ;;
        folder) compopt +o default -o dirnames ;;
        words\ *)
            compopt +o default
            COMPREPLY=($(compgen -W "${1#words }" -- "$cur"))
            ;;
        *) compopt +o default ;;
    esac
}

_oibidx()
{
    local cur=${COMP_WORDS[COMP_CWORD]} command='' i word
    local commands options operands kind=''
    COMPREPLY=()
    _oibidx_describe ''
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        if [[ -n $kind ]]; then
            [[ $word == = ]] || kind=''
        elif [[ $word == -* ]]; then
            _oibidx_value "$command $word"
        elif [[ " $commands " == *" $word "* ]]; then
            command+=${command:+ }$word
            _oibidx_describe "$command"
        elif ((${#operands[@]} > 1)); then
            operands=("${operands[@]:1}")
        fi
    done
    if [[ -n $kind ]]; then
        [[ $cur != = ]] || cur=''
        _oibidx_complete "$kind"
    elif [[ $cur == -* ]]; then
        _oibidx_complete "words $options"
    elif [[ -n $commands ]]; then
        _oibidx_complete "words $commands"
    else
        _oibidx_complete "${operands[0]-text}"
    fi
} &&
    complete -o default -F _oibidx oibidx
)";

std::string KindOf(const ValueDescription& value) {
    switch (value.kind) {
        case EValueKind::File:
            return "file";
        case EValueKind::Folder:
            return "folder";
        case EValueKind::Word:
            return "words " + Joined(value.words, " ");
        case EValueKind::Text:
            break;
    }
    return "text";
}

void AddCommand(const CommandDescription& command, std::string& text) {
    std::vector<std::string> options;
    for (const OptionDescription& option : command.options) {
        options.insert(options.end(), option.names.begin(), option.names.end());
    }
    std::vector<std::string> operands;
    for (const ValueDescription& operand : command.operands) {
        operands.push_back("'" + KindOf(operand) + "'");
    }
    if (command.operands.empty() || !command.operands.back().isRepeated) {
        operands.emplace_back("text");  // there is nothing to complete after the last operand
    }
    text += "        '" + command.path + "')\n            commands='" +
            Joined(NamesOf(command.commands), " ") + "'\n            options='" +
            Joined(options, " ") + "'\n            operands=(" + Joined(operands, " ") +
            ")\n            ;;\n";
    for (const CommandDescription& child : command.commands) {
        AddCommand(child, text);
    }
}

void AddValues(const CommandDescription& command, std::string& text) {
    for (const OptionDescription& option : command.options) {
        if (!option.value) {
            continue;
        }
        std::vector<std::string> patterns;
        for (const std::string& name : option.names) {
            patterns.push_back("'" + command.path + " " + name + "'");
        }
        text +=
            "        " + Joined(patterns, " | ") + ") kind='" + KindOf(*option.value) + "' ;;\n";
    }
    for (const CommandDescription& child : command.commands) {
        AddValues(child, text);
    }
}

}  // namespace

std::string BashCompletion(const CommandDescription& program) {
    std::string text =
        "# bash completion for oibidx                                -*- shell-script -*-\n\n"
        "# Sets commands, options and the kinds of the operands of the command $1.\n"
        "_oibidx_describe()\n{\n    case $1 in\n";
    AddCommand(program, text);
    text +=
        "    esac\n}\n\n"
        "# Sets the kind of the value of the option: $1 is the command and the option. A flag has\n"
        "# none.\n_oibidx_value()\n{\n    case $1 in\n";
    AddValues(program, text);
    return text + "        *) kind='' ;;\n    esac\n}\n" + kFunctions;
}

}  // namespace zorel::cli
