// Wildcard matching of file names, and the cut of a line into folder and name.
//
// The rule is this library's own. A pattern is cut at '*' into tokens. The first token
// must stand at the start of the name unless the pattern floats; every further one may
// stand anywhere from the place where the one before it matched, that place included.
// Nothing is anchored at the end of the name. '?' takes exactly one code unit; A-Z and a-z
// are the same, every other unit is compared exactly.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tdf {

enum class EStarRule {
    LeadingStar,  // floats when the pattern begins with '*'
    Standard,     // floats then, and when a pattern that is not empty has no '*' at all
};

// Whether a pattern floats under a rule.
bool Floats(std::u16string_view pattern, EStarRule rule) noexcept;

// One match, without preparation and without memory. Takes name and pattern in any case.
// What IsWildcardMatch asks for is
//     MatchWildcard(CutLine(line).name, pattern, Floats(pattern, EStarRule::LeadingStar))
bool MatchWildcard(std::u16string_view name, std::u16string_view pattern, bool floating) noexcept;

// A compiled pattern, for matching many names. Matching changes nothing and may be done
// from several threads; walking the tokens moves the cursor.
class CWildcardPattern {
public:
    // Folds the pattern itself.
    explicit CWildcardPattern(std::u16string_view pattern, EStarRule rule = EStarRule::LeadingStar);

    // Both give false when there is no (further) token and leave `token` alone then.
    bool FirstToken(std::u16string_view& token, bool& floating) noexcept;
    bool NextToken(std::u16string_view& token) noexcept;

    // Takes names in any case.
    bool Match(std::u16string_view name) const noexcept;
    // The same for a name of `length` units that lies at any address.
    bool Match(const std::byte* name, std::size_t length) const noexcept;

private:
    bool m_floating;
    std::vector<std::u16string> m_tokens;  // folded, none empty
    std::size_t m_cursor = 0;              // the token last handed out
};

// A line of a text data file around its path, which begins two units before the first
// backslash.
struct CutLineParts {
    std::u16string_view folder;  // ends with a backslash
    std::u16string_view name;    // may be empty
};

// Throws CExc (E_FAIL) when the line has no backslash or fewer than two units before it.
CutLineParts CutLine(std::u16string_view line);

}  // namespace tdf
