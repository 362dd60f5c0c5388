#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zorel::cli {

struct Candidate {
    std::string shown;
    std::string compared;  // with the word of the user
};

// The number of characters to insert, delete, replace or exchange with their neighbour that make
// one text of the other.
std::size_t EditDistance(std::string_view left, std::string_view right);

// "; did you mean 'find' or 'find-text'?" with the candidates nearest to the word; empty when all
// are too far from it. A candidate that begins with the word is near.
std::string Suggestion(std::string_view word, const std::vector<Candidate>& candidates);

}  // namespace zorel::cli
