#pragma once

#include <string>

namespace zorel::cli {

// Whether the whole text matches the pattern: * ? [a-z] [!a-z], \ before a literal character.
// * and ? match no slash; ? matches one character of UTF-8 text.
bool MatchesGlob(const std::string& pattern, const std::string& text);

}  // namespace zorel::cli
