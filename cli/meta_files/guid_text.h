// Text of identifiers.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ZorelAutomation.h"

namespace zorel::cli {

// "{9b3c5a2e-4f61-4c2d-8e0a-1d2f3a4b5c6d}".
std::string GuidText(const GUID& guid);
// None for a text of another form; the braces are optional.
std::optional<GUID> ParseGuid(std::string_view text);

}  // namespace zorel::cli
