#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

namespace zorel::cli {

// What a command leaves out: the first 20 entries as lines on standard error, all of them as JSON
// lines in a file on request.
class COmissionList {
public:
    // Without a file.
    COmissionList() = default;
    // `option` is that of the file, such as "--errors". The file is created at once. Failures are
    // std::system_error with its path.
    COmissionList(std::string option, const std::optional<std::string>& file);

    // The line is "PATH: REASON", the object {"path": PATH, "reason": REASON}.
    void Add(std::u16string_view path, std::string_view reason);
    std::uint64_t Count() const { return m_count; }
    // Reports how many entries have no line, and closes the file.
    void Finish();

private:
    std::string m_option;
    std::string m_path;
    std::ofstream m_file;
    std::uint64_t m_count = 0;
};

}  // namespace zorel::cli
