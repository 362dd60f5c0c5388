#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ZorelAutomation.h"
#include "cli/output/text_buffer.h"

namespace zorel::cli {

// One JSON object on one line, keys in the order of the calls. Text keeps every code unit: a
// lone surrogate is written as its escape.
class CJsonObject {
public:
    CJsonObject& Add(std::string_view key, std::u16string_view text);
    CJsonObject& Add(std::string_view key, std::string_view text);
    CJsonObject& AddNumber(std::string_view key, std::int64_t value);
    // "2024-03-01T12:34:56Z", or null for a date that is not valid.
    CJsonObject& AddDate(std::string_view key, DATE date);
    CJsonObject& AddNull(std::string_view key);
    CJsonObject& AddBool(std::string_view key, bool value);
    CJsonObject& AddTexts(std::string_view key, const std::vector<std::string>& texts);
    CJsonObject& AddObject(std::string_view key, const CJsonObject& value);

    // Ends with a line feed.
    std::string Line() const;

private:
    CJsonObject& AddValue(std::string_view key, std::string_view value);
    void StartValue(std::string_view key);

    CTextBuffer m_members;  // without the braces
};

}  // namespace zorel::cli
