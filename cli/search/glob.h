#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zorel::cli {

// A pattern for whole names: * is any text, ? is one character, [a-z] and [!a-z] are one of the
// characters or none of them, where ] directly after the bracket is a character. Characters are
// code points. The case of A-Z is ignored, as in every comparison of names. A bracket without its
// end is a character.
class CGlob {
public:
    explicit CGlob(std::u16string_view pattern);

    bool Matches(std::u16string_view name) const;
    // A pattern of the library that matches every name that this one matches.
    std::u16string WiderPattern() const;

private:
    struct Range {
        char32_t first;
        char32_t last;
    };
    struct Token {
        bool isText = false;  // *; for all others one character
        bool isNegated = false;
        std::vector<Range> ranges;

        bool Accepts(char32_t c) const;
    };

    static bool TakeClass(std::u16string_view& pattern, Token& token);

    std::vector<Token> m_tokens;
};

}  // namespace zorel::cli
