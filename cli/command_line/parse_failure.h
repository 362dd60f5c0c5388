#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <string>

namespace zorel::cli {

// What is wrong with the command line that `program` has parsed, in plain words: an unknown
// command or option with the nearest known ones, missing operands with an example, a value that
// an option does not accept.
std::string ExplainParse(const CLI::App& program, const CLI::ParseError& error);

}  // namespace zorel::cli
