#include "tdf/matching/wildcard.h"

#include <span>

#include "frame/errors.h"
#include "text/ascii_case.h"
#include "text/text_scan.h"
#include "text/unaligned.h"

namespace tdf {

namespace {

text::CUnitTest TestOf(char16_t unit) noexcept {
    const char16_t folded = text::ToLowerAscii(unit);
    if (folded == u'?') {
        return {0xFFFF, 0xFFFF};
    }
    const bool letter = folded >= u'a' && folded <= u'z';
    return {static_cast<std::uint16_t>(letter ? 0x20 : 0), folded};
}

// The part of a name that is not matched yet.
class CNameRest {
public:
    CNameRest(const std::byte* units, std::size_t length, bool floating) noexcept
        : m_units(units), m_length(length), m_floating(floating) {}

    // Moves to the first position where `token` (not empty) matches; false if there is none.
    bool MoveTo(std::u16string_view token) noexcept {
        if (m_length < token.size()) {
            return false;
        }
        const bool found = m_floating ? Search(token) : Fits(token);
        m_floating = true;
        return found;
    }

private:
    bool Search(std::u16string_view token) noexcept {
        const text::CUnitTest first = TestOf(token.front());
        const text::CUnitTest last = TestOf(token.back());
        while (m_length >= token.size()) {
            const std::size_t starts = m_length - token.size() + 1;
            const std::size_t skipped =
                text::FindUnitPair(m_units, starts, first, last, token.size() - 1);
            if (skipped == starts) {
                return false;
            }
            Drop(skipped);
            if (Fits(token)) {
                return true;
            }
            Drop(1);
        }
        return false;
    }

    bool Fits(std::u16string_view token) const noexcept {
        for (std::size_t i = 0; i < token.size(); ++i) {
            if (!TestOf(token[i]).Passes(text::LoadUnit(m_units, i))) {
                return false;
            }
        }
        return true;
    }

    void Drop(std::size_t units) noexcept {
        m_units += 2 * units;
        m_length -= units;
    }

    const std::byte* m_units;
    std::size_t m_length;
    bool m_floating;
};

const std::byte* BytesOf(std::u16string_view text) noexcept {
    return std::as_bytes(std::span(text.data(), text.size())).data();
}

// Removes the next token from the front of `pattern`; empty when no token is left.
std::u16string_view RemoveToken(std::u16string_view& pattern) noexcept {
    while (!pattern.empty() && pattern.front() == u'*') {
        pattern.remove_prefix(1);
    }
    const std::u16string_view token = pattern.substr(0, pattern.find(u'*'));
    pattern.remove_prefix(token.size());
    return token;
}

}  // namespace

bool Floats(std::u16string_view pattern, EStarRule rule) noexcept {
    if (pattern.empty()) {
        return false;
    }
    return pattern.front() == u'*' ||
           (rule == EStarRule::Standard && pattern.find(u'*') == std::u16string_view::npos);
}

bool MatchWildcard(std::u16string_view name, std::u16string_view pattern, bool floating) noexcept {
    CNameRest rest(BytesOf(name), name.size(), floating);
    for (std::u16string_view token = RemoveToken(pattern); !token.empty();
         token = RemoveToken(pattern)) {
        if (!rest.MoveTo(token)) {
            return false;
        }
    }
    return true;
}

CWildcardPattern::CWildcardPattern(std::u16string_view pattern, EStarRule rule)
    : m_floating(Floats(pattern, rule)) {
    for (std::u16string_view token = RemoveToken(pattern); !token.empty();
         token = RemoveToken(pattern)) {
        m_tokens.push_back(text::ToLowerAscii(token));
    }
}

bool CWildcardPattern::FirstToken(std::u16string_view& token, bool& floating) noexcept {
    floating = m_floating;
    m_cursor = 0;
    if (m_tokens.empty()) {
        return false;
    }
    token = m_tokens.front();
    return true;
}

bool CWildcardPattern::NextToken(std::u16string_view& token) noexcept {
    if (m_cursor + 1 >= m_tokens.size()) {
        return false;
    }
    token = m_tokens[++m_cursor];
    return true;
}

bool CWildcardPattern::Match(std::u16string_view name) const noexcept {
    return Match(BytesOf(name), name.size());
}

bool CWildcardPattern::Match(const std::byte* name, std::size_t length) const noexcept {
    CNameRest rest(name, length, m_floating);
    for (const std::u16string& token : m_tokens) {
        if (!rest.MoveTo(token)) {
            return false;
        }
    }
    return true;
}

PathInLine SplitLine(std::u16string_view line) {
    const std::size_t first = line.find(u'\\');
    if (first == std::u16string_view::npos || first < kDriveLength) {
        throw frame::CExc(u"Cannot find a folder in the line: [%1].", {line}, frame::kFail);
    }
    const std::size_t nameAt = line.rfind(u'\\') + 1;
    const std::size_t folderAt = first - kDriveLength;
    return {line.substr(folderAt, nameAt - folderAt), line.substr(nameAt)};
}

}  // namespace tdf
