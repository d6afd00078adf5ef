#pragma once

// The edit distance a "did you mean" suggestion ranks names by.

#include <algorithm>
#include <cstddef>
#include <vector>

namespace tarvo::text {

/// Given two sequences of characters (bytes, or code points for text that is not ASCII),
/// returns the number of single-character insertions, deletions and substitutions that turn
/// `a` into `b` (the Levenshtein distance), in O(|a|·|b|) time and O(|b|) memory.
template <typename A, typename B>
size_t editDistance(const A& a, const B& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

}  // namespace tarvo::text
