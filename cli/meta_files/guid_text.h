// Identifiers as people write them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ZorelAutomation.h"

namespace zorel::tools {

// "{9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}".
std::string GuidText(const GUID& guid);
// Nothing for a text of another form; the braces may be missing.
std::optional<GUID> ParseGuid(std::string_view text);

}  // namespace zorel::tools
