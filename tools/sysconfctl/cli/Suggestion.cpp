// SPDX-License-Identifier: Apache-2.0
#include "cli/Suggestion.h"

#include <algorithm>
#include <numeric>

namespace sysconfctl {
namespace {

/// Levenshtein distance; keeps one row of the table only.
std::size_t distance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < right.size(); ++j) {
            const std::size_t replaced = diagonal + (left[i] == right[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::string suggestion(std::string_view word, const std::vector<std::string_view>& candidates) {
    std::string best;
    std::size_t least = word.size() / 4 + 2;
    for (const std::string_view candidate : candidates) {
        const std::size_t edits = distance(word, candidate);
        if (edits < least) {
            least = edits;
            best = candidate;
        }
    }
    return best;
}

} // namespace sysconfctl
