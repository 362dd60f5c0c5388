// The library's failures in plain words.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ZorelClient.h"

namespace zorel::cli {

// The reason of a system's error code that the library passes on; null for others.
const char* PlainReason(HRESULT result);

struct PlainText {
    std::string subject;  // the file that the text is about; empty for the subject of the call
    std::string text;
};

// What the description of a failed call means; none when it is not known. `subject` is the file
// that the call was about.
std::optional<PlainText> PlainDescription(const std::string& subject, std::string_view description);

}  // namespace zorel::cli
