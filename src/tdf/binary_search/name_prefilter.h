// A wildcard pattern compiled for packed names.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "tdf/binary_search/packed_names.h"
#include "tdf/matching/wildcard.h"

namespace tdf {

// Packed units of a token; kAny matches any unit.
using PackedToken = std::vector<std::byte>;
// A token holds no literal '?', so this byte is unused.
inline constexpr std::byte kAny{'?'};

// The number of occurrences of each byte.
using ByteCounts = std::array<std::uint32_t, 256>;

// Finds a token by searching for its two rarest bytes.
class CTokenFinder {
public:
    CTokenFinder() = default;
    // The token must hold a byte that is not kAny.
    CTokenFinder(PackedToken token, const ByteCounts& counts);

    bool IsEmpty() const noexcept { return m_token.empty(); }
    // The first position of the token in packed names; their size if there is none.
    std::size_t Find(std::span<const std::byte> packed) const noexcept;
    std::size_t CountIn(std::span<const std::byte> packed) const noexcept;

private:
    PackedToken m_token;
    std::size_t m_first = 0;  // the two bytes, m_first <= m_last
    std::size_t m_last = 0;
};

// Searches for the rarest token of the pattern and tests the other tokens only in the names
// that hold it.
class CNamePrefilter {
public:
    CNamePrefilter(CWildcardPattern pattern, const CPackedNames& index);

    // False when the pattern holds no token that can be searched for.
    bool IsUsable() const noexcept { return !m_finder.IsEmpty(); }
    // True when a name matches the pattern whenever its packed form does.
    bool IsExact() const noexcept { return m_exact; }
    // True when so many names may match that reading all records in sequence is not slower.
    bool IsDense() const noexcept { return m_dense; }

    const CTokenFinder& Finder() const noexcept { return m_finder; }
    // Whether a packed name that holds the finder's token matches the pattern.
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
