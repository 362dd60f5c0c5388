#include "cli/command_line/suggestion.h"

#include <algorithm>
#include <utility>

namespace zorel::cli {

std::size_t EditDistance(std::string_view left, std::string_view right) {
    using Row = std::vector<std::size_t>;
    Row beforeLast(right.size() + 1);
    Row last(right.size() + 1);
    Row row(right.size() + 1);
    for (std::size_t j = 0; j < row.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= left.size(); ++i) {
        beforeLast = std::exchange(last, std::exchange(row, std::move(beforeLast)));
        row[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const bool isSame = left[i - 1] == right[j - 1];
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1]) {
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
            }
        }
    }
    return row.back();
}

std::string Suggestion(std::string_view word, const std::vector<Candidate>& candidates) {
    constexpr std::size_t kMinLength = 2;
    std::vector<const Candidate*> nearest;
    std::size_t smallest = word.size() < kMinLength ? 0 : std::max<std::size_t>(1, word.size() / 3);
    for (const Candidate& candidate : candidates) {
        const bool isPrefix = word.size() >= kMinLength && candidate.compared.starts_with(word);
        const std::size_t distance = isPrefix ? 0 : EditDistance(word, candidate.compared);
        if (distance < smallest) {
            nearest.clear();
            smallest = distance;
        }
        if (distance == smallest) {
            nearest.push_back(&candidate);
        }
    }
    std::string text;
    for (const Candidate* candidate : nearest) {
        text += (text.empty() ? "; did you mean '" : " or '") + candidate->shown + "'";
    }
    return text.empty() ? text : text + "?";
}

}  // namespace zorel::cli
