#include "cli/output/json_object.h"

#include <cstdio>
#include <utility>

#include "ZorelText.h"
#include "cli/output/calendar.h"

namespace zorel::cli {

namespace {

// The JSON library accepts well-formed text only. A lone surrogate is given to it as this mark,
// a noncharacter, and four hexadecimal digits. In the printed text the mark becomes \u. The
// mark itself is encoded in the same way.
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

CJsonObject& CJsonObject::AddNull(std::string_view key) {
    m_object[std::string(key)] = nullptr;
    return *this;
}

CJsonObject& CJsonObject::AddBool(std::string_view key, bool value) {
    m_object[std::string(key)] = value;
    return *this;
}

CJsonObject& CJsonObject::AddDate(std::string_view key, DATE date) {
    if (const auto text = FormatDate(date, "T")) {
        return Add(key, *text + "Z");
    }
    return AddNull(key);
}

CJsonObject& CJsonObject::AddTexts(std::string_view key, const std::vector<std::string>& texts) {
    auto& array = m_object[std::string(key)] = nlohmann::ordered_json::array();
    for (const std::string& text : texts) {
        array.push_back(Marked(ToUtf16(text)));
    }
    return *this;
}

CJsonObject& CJsonObject::AddObject(std::string_view key, const CJsonObject& value) {
    m_object[std::string(key)] = value.m_object;
    return *this;
}

std::string CJsonObject::Line() const {
    return Unmarked(m_object.dump()) + "\n";
}

}  // namespace zorel::cli
