#include "cli/output/json_object.h"

#include "ZorelText.h"
#include "cli/output/calendar.h"

namespace zorel::cli {

namespace {

void AppendString(CTextBuffer& out, std::u16string_view text) {
    out.Append('"');
    out.AppendJson(text);
    out.Append('"');
}

}  // namespace

void CJsonObject::StartValue(std::string_view key) {
    m_members.Append(m_members.Size() == 0 ? "" : ",");
    AppendString(m_members, ToUtf16(key));
    m_members.Append(':');
}

CJsonObject& CJsonObject::AddValue(std::string_view key, std::string_view value) {
    StartValue(key);
    m_members.Append(value);
    return *this;
}

CJsonObject& CJsonObject::Add(std::string_view key, std::u16string_view text) {
    StartValue(key);
    AppendString(m_members, text);
    return *this;
}

CJsonObject& CJsonObject::Add(std::string_view key, std::string_view text) {
    return Add(key, ToUtf16(text));
}

CJsonObject& CJsonObject::AddNumber(std::string_view key, std::int64_t value) {
    return AddValue(key, std::to_string(value));
}

CJsonObject& CJsonObject::AddDate(std::string_view key, DATE date) {
    const auto text = FormatDate(date, "T");
    return text ? Add(key, *text + "Z") : AddNull(key);
}

CJsonObject& CJsonObject::AddNull(std::string_view key) {
    return AddValue(key, "null");
}

CJsonObject& CJsonObject::AddBool(std::string_view key, bool value) {
    return AddValue(key, value ? "true" : "false");
}

CJsonObject& CJsonObject::AddTexts(std::string_view key, const std::vector<std::string>& texts) {
    StartValue(key);
    m_members.Append('[');
    for (const std::string& text : texts) {
        m_members.Append(&text == &texts.front() ? "" : ",");
        AppendString(m_members, ToUtf16(text));
    }
    m_members.Append(']');
    return *this;
}

CJsonObject& CJsonObject::AddObject(std::string_view key, const CJsonObject& value) {
    return AddValue(key, "{" + std::string(value.m_members.View()) + "}");
}

std::string CJsonObject::Line() const {
    return "{" + std::string(m_members.View()) + "}\n";
}

}  // namespace zorel::cli
