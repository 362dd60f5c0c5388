#include "output.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "ZorelText.h"
#include "replacing_file.h"
#include "text_format.h"

namespace zorel::tools {

namespace {

constexpr std::size_t kBufferBytes = 1U << 16;

bool IsSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

bool IsPair(std::u16string_view text) {
    return text.size() == 2 && detail::IsHighSurrogate(text[0]) && detail::IsLowSurrogate(text[1]);
}

void AppendEscape(std::string& out, char16_t unit) {
    char escape[8];
    static_cast<void>(
        std::snprintf(escape, sizeof(escape), "\\u%04x", static_cast<unsigned>(unit)));
    out += escape;
}

std::string Quoted(std::u16string_view text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unit == u'"' || unit == u'\\') {
            out += {'\\', static_cast<char>(unit)};
        } else if (IsPair(text.substr(i, 2))) {
            out += ToUtf8(text.substr(i++, 2));
        } else if (unit < 0x20 || unit == 0x7F || IsSurrogate(unit)) {
            AppendEscape(out, unit);
        } else {
            out += ToUtf8(text.substr(i, 1));
        }
    }
    return out + "\"";
}

}  // namespace

void Complain(const std::string& message) {
    std::string text = "oibidx: ";
    std::size_t start = 0;
    while (start < message.size()) {
        const std::size_t end = std::min(message.find('\n', start), message.size());
        text += Printable(ToUtf16(std::string_view(message).substr(start, end - start))) + "\n";
        start = end + 1;
    }
    static_cast<void>(std::fputs(text.c_str(), stderr));
}

void COutput::Write(std::string_view text) {
    m_buffer += text;
    if (m_buffer.size() >= kBufferBytes) {
        Flush();
    }
}

void COutput::Flush() {
    const std::string text = std::move(m_buffer);
    m_buffer.clear();
    WriteFully(STDOUT_FILENO, text, "standard output");
}

CJsonObject& CJsonObject::Add(std::string_view key, std::u16string_view text) {
    return AddRaw(key, Quoted(text));
}

CJsonObject& CJsonObject::Add(std::string_view key, std::string_view text) {
    return AddRaw(key, Quoted(ToUtf16(text)));
}

CJsonObject& CJsonObject::AddNumber(std::string_view key, std::int64_t value) {
    return AddRaw(key, std::to_string(value));
}

CJsonObject& CJsonObject::AddBool(std::string_view key, bool value) {
    return AddRaw(key, value ? "true" : "false");
}

CJsonObject& CJsonObject::AddNull(std::string_view key) {
    return AddRaw(key, "null");
}

CJsonObject& CJsonObject::AddObject(std::string_view key, const CJsonObject& value) {
    return AddRaw(key, value.Text());
}

CJsonObject& CJsonObject::AddRaw(std::string_view key, std::string_view value) {
    m_members += m_members.empty() ? "" : ",";
    m_members += Quoted(ToUtf16(key)) + ":";
    m_members += value;
    return *this;
}

}  // namespace zorel::tools
