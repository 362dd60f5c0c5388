#include "cli/output/output.h"

#include <algorithm>
#include <cstdio>

#include "ZorelText.h"
#include "cli/output/terminal.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

void PrintError(std::string_view message) {
    std::string text = "oibidx: ";
    while (!message.empty()) {
        const std::size_t end = std::min(message.find('\n'), message.size());
        std::string_view line = message.substr(0, end);
        line.remove_suffix(line.ends_with('\r') ? 1 : 0);
        text += Printable(ToUtf16(line)) + "\n";
        message.remove_prefix(std::min(end + 1, message.size()));
    }
    static_cast<void>(std::fputs(text.c_str(), stderr));
}

void COutput::Write(std::string_view text) {
    m_buffer.Append(text);
    FlushIfFull();
}

void COutput::FlushIfFull() {
    constexpr std::size_t kBufferBytes = 1U << 16;
    if (m_buffer.Size() >= kBufferBytes) {
        Flush();
    }
}

void COutput::Flush() {
    const std::string_view text = m_buffer.View();
    m_buffer.Clear();  // keeps the bytes; text that cannot be written is not written again
    WriteToStandardOutput(text);
}

}  // namespace zorel::cli
