#include "cli/output/omission_list.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "cli/output/json_object.h"
#include "cli/output/output.h"
#include "cli/output/text_format.h"

namespace zorel::cli {

namespace {

constexpr std::uint64_t kMaxLines = 20;

}  // namespace

COmissionList::COmissionList(std::string option, const std::optional<std::string>& file)
    : m_option(std::move(option)), m_path(file.value_or("")) {
    if (file) {
        m_file.open(m_path, std::ios::binary | std::ios::trunc);
        if (!m_file) {
            throw std::system_error(errno, std::generic_category(), m_path);
        }
    }
}

void COmissionList::Add(std::u16string_view path, std::string_view reason) {
    if (m_count++ < kMaxLines) {
        PrintError(Printable(path) + ": " + std::string(reason));
    }
    if (m_file.is_open()) {
        m_file << CJsonObject().Add("path", path).Add("reason", reason).Line();
    }
}

void COmissionList::Finish() {
    if (m_count > kMaxLines) {
        const std::string more = std::to_string(m_count - kMaxLines) + " more";
        const std::string place = m_path.empty() && !m_option.empty() ? m_option + " FILE" : m_path;
        PrintError(place.empty() ? more : more + "; " + place + " lists all");
    }
    if (m_file.is_open() && (m_file.close(), !m_file)) {
        throw std::system_error(errno, std::generic_category(), m_path);
    }
}

}  // namespace zorel::cli
