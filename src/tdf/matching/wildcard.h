// Wildcard matching of file names, and the division of a line into folder and name.
//
// The rule is specific to this library. The characters '*' divide a pattern into tokens.
// The first token must match at the start of the name, unless the pattern floats. Each
// later token may match at any position from the one where the token before it matched,
// that position included. Nothing is anchored at the end of the name. '?' matches exactly
// one code unit. A-Z and a-z are equal; every other unit is compared exactly.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tdf {

enum class EStarRule {
    LeadingStar,  // floats when the pattern begins with '*'
    Standard,     // also floats when a non-empty pattern holds no '*'
};

// Whether the first token of `pattern` may match at any position.
bool Floats(std::u16string_view pattern, EStarRule rule) noexcept;

// Matches one name without compiling the pattern; allocates no memory. Name and pattern may
// be in any case.
bool MatchWildcard(std::u16string_view name, std::u16string_view pattern, bool floating) noexcept;

// A compiled pattern, for matching many names. Several threads may call Match at the same
// time; FirstToken and NextToken move a cursor.
class CWildcardPattern {
public:
    // `pattern` may be in any case.
    explicit CWildcardPattern(std::u16string_view pattern, EStarRule rule = EStarRule::LeadingStar);

    // Both return false, and leave `token` unchanged, when there is no further token.
    bool FirstToken(std::u16string_view& token, bool& floating) noexcept;
    bool NextToken(std::u16string_view& token) noexcept;

    // The name may be in any case.
    bool Match(std::u16string_view name) const noexcept;
    // The same for a name of `length` units at any address.
    bool Match(const std::byte* name, std::size_t length) const noexcept;

private:
    bool m_floating;
    std::vector<std::u16string> m_tokens;  // folded, none empty
    std::size_t m_cursor = 0;              // the token returned last
};

// Code units of a line's path before its first backslash: "C:".
inline constexpr std::size_t kDriveLength = 2;

// The path in a line of a text data file. It begins kDriveLength units before the first
// backslash.
struct PathInLine {
    std::u16string_view folder;  // ends with a backslash
    std::u16string_view name;    // may be empty
};

// Throws CExc (E_FAIL) when the line has no backslash or fewer than two units before it.
PathInLine SplitLine(std::u16string_view line);

}  // namespace tdf
