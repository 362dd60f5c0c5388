// A wildcard pattern made ready for packed names.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "tdf/binary_search/packed_names.h"
#include "tdf/matching/wildcard.h"

namespace tdf {

// Packed units of a token; kAny where any unit may stand.
using PackedToken = std::vector<std::byte>;
// In a token '?' is no character, so its byte is free.
inline constexpr std::byte kAny{'?'};

// How often each byte occurs somewhere.
using ByteCounts = std::array<std::uint32_t, 256>;

// Finds a token by the two of its bytes that occur least.
class CTokenFinder {
public:
    CTokenFinder() = default;
    // The token holds a byte that is not kAny.
    CTokenFinder(PackedToken token, const ByteCounts& counts);

    bool IsEmpty() const noexcept { return m_token.empty(); }
    // The token's first position in names behind separators; their size when there is none.
    std::size_t Find(std::span<const std::byte> packed) const noexcept;
    std::size_t CountIn(std::span<const std::byte> packed) const noexcept;

private:
    PackedToken m_token;
    std::size_t m_first = 0;  // the two bytes, m_first <= m_last
    std::size_t m_last = 0;
};

// Looks for the one token of the pattern that fewest names hold, and for the others only
// in these names.
class CNamePrefilter {
public:
    CNamePrefilter(CWildcardPattern pattern, const CPackedNames& index);

    // False when the pattern holds nothing to look for.
    bool IsUsable() const noexcept { return !m_finder.IsEmpty(); }
    // Whether a name whose packed form fits does fit the pattern.
    bool IsExact() const noexcept { return m_exact; }
    // Whether so many names may fit that reading all records in a row is no slower.
    bool IsDense() const noexcept { return m_dense; }

    const CTokenFinder& Finder() const noexcept { return m_finder; }
    // Whether a packed name in which the finder found its token fits the pattern.
    bool Fits(std::span<const std::byte> name) const noexcept {
        return m_tokens.size() == 1 || FitsAll(name);
    }

private:
    void ChooseToken(const CPackedNames& index);
    bool FitsAll(std::span<const std::byte> name) const noexcept;

    std::vector<PackedToken> m_tokens;
    bool m_floating = false;
    bool m_exact = true;
    bool m_dense = false;
    CTokenFinder m_finder;
};

}  // namespace tdf
