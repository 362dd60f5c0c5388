#include "cli/search/glob.h"

#include <algorithm>
#include <optional>

#include "ZorelText.h"

namespace zorel::cli {

namespace {

char32_t TakeCharacter(std::u16string_view& text) {
    const char32_t unit = text.front();
    const bool isPair =
        text.size() > 1 && detail::IsHighSurrogate(unit) && detail::IsLowSurrogate(text[1]);
    const char32_t c = isPair ? 0x10000 + ((unit - 0xD800) << 10) + (text[1] - 0xDC00U) : unit;
    text.remove_prefix(isPair ? 2 : 1);
    return c;
}

// The same letter in the other case; other characters as they are.
char32_t OtherCase(char32_t c) {
    const char32_t lower = c | 0x20;
    return lower >= U'a' && lower <= U'z' && c < 0x80 ? c ^ 0x20 : c;
}

}  // namespace

bool CGlob::Token::Accepts(char32_t c) const {
    const bool isFound = std::any_of(ranges.begin(), ranges.end(), [&](const Range& range) {
        const auto contains = [&](char32_t x) { return x >= range.first && x <= range.last; };
        return contains(c) || contains(OtherCase(c));
    });
    return isFound != isNegated;
}

// Parses a class after its bracket. Returns false and takes nothing when it has no end.
bool CGlob::TakeClass(std::u16string_view& pattern, Token& token) {
    std::u16string_view rest = pattern;
    token.isNegated = !rest.empty() && (rest.front() == u'!' || rest.front() == u'^');
    rest.remove_prefix(token.isNegated ? 1 : 0);
    for (bool isFirst = true; !rest.empty() && (isFirst || rest.front() != u']'); isFirst = false) {
        const char32_t first = TakeCharacter(rest);
        const bool isRange = rest.size() > 1 && rest[0] == u'-' && rest[1] != u']';
        rest.remove_prefix(isRange ? 1 : 0);
        token.ranges.push_back({first, isRange ? TakeCharacter(rest) : first});
    }
    if (rest.empty()) {
        token = {};
        return false;
    }
    pattern = rest.substr(1);
    return true;
}

CGlob::CGlob(std::u16string_view pattern) {
    while (!pattern.empty()) {
        const char32_t c = TakeCharacter(pattern);
        Token token;
        if (c == U'*') {
            token.isText = true;
        } else if (c == U'?') {
            token.isNegated = true;  // none of no characters
        } else if (c != U'[' || !TakeClass(pattern, token)) {
            token.ranges.push_back({c, c});
        }
        m_tokens.push_back(std::move(token));
    }
}

// After a mismatch the text of the last * becomes one character longer.
bool CGlob::Matches(std::u16string_view name) const {
    auto token = m_tokens.begin();
    std::optional<decltype(token)> afterText;
    std::u16string_view textEnd;  // the name after the text of the last *
    while (!name.empty() || token != m_tokens.end()) {
        if (token != m_tokens.end() && token->isText) {
            afterText = ++token;
            textEnd = name;
            continue;
        }
        std::u16string_view rest = name;
        if (token != m_tokens.end() && !rest.empty() && token->Accepts(TakeCharacter(rest))) {
            ++token;
            name = rest;
            continue;
        }
        if (!afterText || textEnd.empty()) {
            return false;
        }
        TakeCharacter(textEnd);
        name = textEnd;
        token = *afterText;
    }
    return true;
}

// A character can be two code units, which is one * there.
std::u16string CGlob::WiderPattern() const {
    std::u16string pattern;
    for (const Token& token : m_tokens) {
        const bool isCharacter = !token.isText && !token.isNegated && token.ranges.size() == 1 &&
                                 token.ranges[0].first == token.ranges[0].last &&
                                 token.ranges[0].first < 0xD800 && token.ranges[0].first != U'?';
        if (isCharacter) {
            pattern += static_cast<char16_t>(token.ranges[0].first);
        } else if (!pattern.ends_with(u'*')) {
            pattern += u'*';
        }
    }
    return pattern;
}

}  // namespace zorel::cli
