// Completion scripts, generated from the declared commands and options.
#pragma once

#include <string>

#include "cli/completion/command_description.h"

namespace zorel::cli {

std::string BashCompletion(const CommandDescription& program);
std::string ZshCompletion(const CommandDescription& program);
std::string FishCompletion(const CommandDescription& program);

}  // namespace zorel::cli
