// The test for Unicode text that names and lines must pass. The statistical test of Windows is
// not used: both systems write the same files from one catalogue, and no real name is lost.
#pragma once

#include <cstddef>

namespace text {

// Whether a text is well-formed UTF-16 without noncharacters (U+FFFE is one) and without NUL,
// LF and CR. An empty text is. `units` may have any alignment; `count` is in code units. A text
// that is divided between characters passes if and only if its parts do.
bool IsUnicodeText(const std::byte* units, std::size_t count) noexcept;

}  // namespace text
