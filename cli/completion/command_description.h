// The commands of the program as its completion scripts describe them.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <optional>
#include <string>
#include <vector>

namespace zorel::cli {

enum class EValueKind { Text, File, Folder, Word };

// The value of an option, or an operand.
struct ValueDescription {
    std::string name;
    EValueKind kind = EValueKind::Text;
    std::vector<std::string> words;  // for EValueKind::Word
    bool isRepeated = false;
};

struct OptionDescription {
    std::vector<std::string> names;  // with their dashes
    std::string summary;
    std::optional<ValueDescription> value;  // none for a flag
};

struct CommandDescription {
    std::string name;
    std::string path;  // "meta set"; empty for the program
    std::string summary;
    std::vector<OptionDescription> options;
    std::vector<ValueDescription> operands;
    std::vector<CommandDescription> commands;
};

// Describes the options, operands and commands that the help shows.
CommandDescription Describe(const CLI::App& program);

// The words between separators.
std::string Joined(const std::vector<std::string>& words, const std::string& separator);

std::vector<std::string> NamesOf(const std::vector<CommandDescription>& commands);

}  // namespace zorel::cli
