// Standard output, with every failure reported.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace zorel::tools {

// Writes "oibidx: MESSAGE" to standard error. Control characters are made visible; line
// ends stay.
void PrintError(const std::string& message);

// Collects text and writes it in large pieces. Flush must be called at the end; text
// not flushed is lost. Failures are std::system_error naming standard output.
class COutput {
public:
    void Write(std::string_view text);
    void Flush();

private:
    std::string m_buffer;
};

// One JSON object on one line, keys in the order of the calls. Text keeps every code
// unit: a lone surrogate is written as its escape.
class CJsonObject {
public:
    CJsonObject& Add(std::string_view key, std::u16string_view text);
    CJsonObject& Add(std::string_view key, std::string_view text);
    CJsonObject& AddNumber(std::string_view key, std::int64_t value);
    CJsonObject& AddBool(std::string_view key, bool value);
    CJsonObject& AddNull(std::string_view key);
    CJsonObject& AddObject(std::string_view key, const CJsonObject& value);

    std::string Line() const;

private:
    nlohmann::ordered_json m_object = nlohmann::ordered_json::object();
};

}  // namespace zorel::tools
