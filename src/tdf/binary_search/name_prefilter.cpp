#include "tdf/binary_search/name_prefilter.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <tuple>
#include <utility>

#include "text/packed_text.h"

namespace tdf {

namespace {

constexpr std::size_t kDenseShare = 8;  // dense: at least one name in 8

// Whether the bytes at `packed`, as many as the token has, match it.
bool MatchesAt(const PackedToken& token, const std::byte* packed) noexcept {
    for (std::size_t i = 0; i < token.size(); ++i) {
        const bool fits =
            token[i] == kAny ? packed[i] != text::kPackedSeparator : packed[i] == token[i];
        if (!fits) {
            return false;
        }
    }
    return true;
}

ByteCounts CountBytes(std::span<const std::byte> bytes) noexcept {
    ByteCounts counts{};
    for (const std::byte byte : bytes) {
        ++counts[std::to_integer<std::size_t>(byte)];
    }
    return counts;
}

bool HoldsKnownByte(const PackedToken& token) noexcept {
    return std::any_of(token.begin(), token.end(), [](std::byte byte) { return byte != kAny; });
}

struct LessBytes {
    bool operator()(std::span<const std::byte> a, std::span<const std::byte> b) const noexcept {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
    }
};

}  // namespace

CTokenFinder::CTokenFinder(PackedToken token, const ByteCounts& counts)
    : m_token(std::move(token)) {
    std::vector<std::size_t> known;
    for (std::size_t i = 0; i < m_token.size(); ++i) {
        if (m_token[i] != kAny) {
            known.push_back(i);
        }
    }
    const auto count = [&](std::size_t i) {
        return counts[std::to_integer<std::size_t>(m_token[i])];
    };
    std::stable_sort(known.begin(), known.end(),
                     [&](std::size_t a, std::size_t b) { return count(a) < count(b); });
    std::tie(m_first, m_last) =
        std::minmax({known[0], known[std::min<std::size_t>(known.size() - 1, 1)]});
}

std::size_t CTokenFinder::Find(std::span<const std::byte> packed) const noexcept {
    const std::size_t length = m_token.size();
    for (std::size_t at = 0; packed.size() - at >= length; ++at) {
        const std::size_t starts = packed.size() - at - length + 1;
        const std::size_t skipped =
            text::FindBytePair(packed.data() + at + m_first, starts, m_token[m_first],
                               m_token[m_last], m_last - m_first);
        if (skipped == starts) {
            break;
        }
        at += skipped;
        if (MatchesAt(m_token, packed.data() + at)) {
            return at;
        }
    }
    return packed.size();
}

std::size_t CTokenFinder::CountIn(std::span<const std::byte> packed) const noexcept {
    std::size_t count = 0;
    for (std::size_t at = Find(packed); at < packed.size(); at = Find(packed)) {
        ++count;
        packed = packed.subspan(at + 1);
    }
    return count;
}

CNamePrefilter::CNamePrefilter(CWildcardPattern pattern, const CPackedNames& index) {
    std::u16string_view token;
    bool more = pattern.FirstToken(token, m_floating);
    for (; more; more = pattern.NextToken(token)) {
        PackedToken& packed = m_tokens.emplace_back();
        std::transform(token.begin(), token.end(), std::back_inserter(packed), text::PackUnit);
        m_exact = m_exact && std::all_of(token.begin(), token.end(),
                                         [](char16_t unit) { return unit < 0x80; });
    }
    ChooseToken(index);
}

// Chooses the token that is rarest in a sample of the names. A token that must match at the
// start of a name is searched for together with the separator before it.
void CNamePrefilter::ChooseToken(const CPackedNames& index) {
    const std::span<const std::byte> sample = index.Sample();
    const ByteCounts counts = CountBytes(sample);
    auto fewest = static_cast<std::size_t>(-1);
    std::set<std::span<const std::byte>, LessBytes> counted;
    for (std::size_t i = 0; i < m_tokens.size(); ++i) {
        PackedToken token = m_tokens[i];
        if (!HoldsKnownByte(token) || !counted.insert(m_tokens[i]).second) {
            continue;
        }
        if (i == 0 && !m_floating) {
            token.insert(token.begin(), text::kPackedSeparator);
        }
        CTokenFinder finder(std::move(token), counts);
        const std::size_t count = finder.CountIn(sample);
        if (count < fewest) {
            fewest = count;
            m_finder = std::move(finder);
        }
    }
    m_dense = fewest >= index.SampleCount() / kDenseShare;
}

bool CNamePrefilter::FitsAll(std::span<const std::byte> name) const noexcept {
    bool floating = m_floating;
    for (const PackedToken& token : m_tokens) {
        while (name.size() >= token.size() && !MatchesAt(token, name.data())) {
            if (!floating) {
                return false;
            }
            name = name.subspan(1);
        }
        if (name.size() < token.size()) {
            return false;
        }
        floating = true;
    }
    return true;
}

}  // namespace tdf
