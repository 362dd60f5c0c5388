// What the client prints.
#pragma once

#include <string_view>

#include "cli/output/text_buffer.h"

namespace zorel::cli {

// Writes the lines of `message` to standard error, after "oibidx: ". Control characters are
// replaced by \xHH; a CR before a line feed is dropped.
void PrintError(std::string_view message);

// A buffer for standard output. Text that is not flushed is lost. Failures are
// std::system_error with "standard output".
class COutput {
public:
    // Text that is appended here is written by the next call of Write, FlushIfFull or Flush.
    CTextBuffer& Buffer() { return m_buffer; }
    void Write(std::string_view text);
    void FlushIfFull();
    void Flush();

private:
    CTextBuffer m_buffer;
};

}  // namespace zorel::cli
