// The standard streams of the process.
#pragma once

#include <cstddef>
#include <string_view>

namespace zorel::cli {

// Writes all bytes; throws std::system_error with "standard output".
void WriteToStandardOutput(std::string_view bytes);

bool IsOutputTerminal();
bool IsErrorTerminal();
// Columns of the terminal of standard error that a line can use without a wrap.
std::size_t ErrorTerminalColumns();

}  // namespace zorel::cli
