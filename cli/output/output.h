// What the client prints.
#pragma once

#include <string>
#include <string_view>

namespace zorel::cli {

// Writes the lines of `message` to standard error, after "oibidx: ". Control characters are
// replaced by \xHH; a CR before a line feed is dropped.
void PrintError(std::string_view message);

// A buffer for standard output. Text that is not flushed is lost. Failures are
// std::system_error with "standard output".
class COutput {
public:
    void Write(std::string_view text);
    void Flush();

private:
    std::string m_buffer;
};

}  // namespace zorel::cli
