#include "cli/output/listing_options.h"

#include <CLI/Option.hpp>
#include <CLI/Validators.hpp>
#include <cstdlib>
#include <string_view>

#include "cli/output/terminal.h"

namespace zorel::cli {

namespace {

bool IsSet(const char* variable, std::string_view value) {
    const char* const text = std::getenv(variable);
    return text != nullptr && (value.empty() ? *text != '\0' : text == value);
}

}  // namespace

void CListingOptions::Declare(CLI::App& app) {
    app.add_flag("--local", m_isLocal, "Print times in the time zone of this machine");
    app.add_option("--color", m_color, "Color folders: auto, always or never")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}));
}

RowStyle CListingOptions::TextStyle() const {
    const bool isTerminal = IsOutputTerminal();
    RowStyle style;
    style.isColored = m_color == "always" || (m_color == "auto" && isTerminal &&
                                              !IsSet("NO_COLOR", "") && !IsSet("TERM", "dumb"));
    style.isZoneShown = m_isLocal || isTerminal;
    style.isLocal = m_isLocal;
    return style;
}

}  // namespace zorel::cli
