#include "cli/output/output.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "ZorelText.h"
#include "cli/output/replacing_file.h"
#include "cli/output/text_format.h"

namespace zorel::tools {

namespace {

constexpr std::size_t kBufferBytes = 1U << 16;

// The library for JSON takes well-formed text only. A lone surrogate goes through it as this
// mark, a noncharacter, with four hexadecimal digits behind it, and becomes an escape at
// the end; so does the mark itself.
constexpr char16_t kMark = u'\uFDD0';

bool IsPair(std::u16string_view text) {
    return text.size() == 2 && detail::IsHighSurrogate(text[0]) && detail::IsLowSurrogate(text[1]);
}

std::string Marked(std::u16string_view text) {
    std::u16string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (IsPair(text.substr(i, 2))) {
            out += text.substr(i++, 2);
        } else if (unit == kMark || detail::IsHighSurrogate(unit) || detail::IsLowSurrogate(unit)) {
            char digits[8];
            static_cast<void>(
                std::snprintf(digits, sizeof(digits), "%04x", static_cast<unsigned>(unit)));
            (out += kMark).append(digits, digits + 4);
        } else {
            out += unit;
        }
    }
    return ToUtf8(out);
}

std::string Unmarked(std::string text) {
    static const std::string mark = ToUtf8(std::u16string(1, kMark));
    for (std::size_t at = text.find(mark); at != text.npos; at = text.find(mark, at)) {
        text.replace(at, mark.size(), "\\u");
    }
    return text;
}

}  // namespace

void PrintError(const std::string& message) {
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
    m_object[std::string(key)] = Marked(text);
    return *this;
}

CJsonObject& CJsonObject::Add(std::string_view key, std::string_view text) {
    return Add(key, ToUtf16(text));
}

CJsonObject& CJsonObject::AddNumber(std::string_view key, std::int64_t value) {
    m_object[std::string(key)] = value;
    return *this;
}

CJsonObject& CJsonObject::AddBool(std::string_view key, bool value) {
    m_object[std::string(key)] = value;
    return *this;
}

CJsonObject& CJsonObject::AddNull(std::string_view key) {
    m_object[std::string(key)] = nullptr;
    return *this;
}

CJsonObject& CJsonObject::AddObject(std::string_view key, const CJsonObject& value) {
    m_object[std::string(key)] = value.m_object;
    return *this;
}

std::string CJsonObject::Line() const {
    return Unmarked(m_object.dump()) + "\n";
}

}  // namespace zorel::tools
