// SPDX-License-Identifier: Apache-2.0
#include "cli/Suggestion.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

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

std::vector<std::string> partsOf(std::string_view name) {
    std::vector<std::string> parts = {""};
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto c = static_cast<unsigned char>(name[i]);
        const bool hump = std::isupper(c) != 0 && i > 0 && std::islower(name[i - 1]) != 0;
        if ((hump || c == '-' || c == '_') && !parts.back().empty()) {
            parts.emplace_back();
        }
        if (c != '-' && c != '_') {
            parts.back() += static_cast<char>(std::tolower(c));
        }
    }
    std::erase(parts, "");
    return parts;
}

/// Candidates that contain all parts of the word, those with fewest parts first.
std::vector<std::string> withParts(std::string_view word,
                                   const std::vector<std::string_view>& candidates,
                                   std::size_t edits) {
    constexpr std::size_t kShortest = 4; // shortest part that may have a wrong letter
    const std::vector<std::string> wanted = partsOf(word);
    std::vector<std::pair<std::size_t, std::string>> found;
    for (const std::string_view candidate : candidates) {
        const std::vector<std::string> parts = partsOf(candidate);
        const auto has = [&](const std::string& part) {
            return std::any_of(parts.begin(), parts.end(), [&](const std::string& one) {
                return distance(part, one) <= (part.size() >= kShortest ? edits : 0);
            });
        };
        if (!wanted.empty() && std::all_of(wanted.begin(), wanted.end(), has)) {
            found.emplace_back(parts.size(), candidate);
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& left, const auto& right) { return left.first < right.first; });
    constexpr std::size_t kMost = 3;
    std::vector<std::string> names;
    for (auto& [distance, name] : found) {
        if (names.size() < kMost) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

} // namespace

std::string suggestion(std::string_view word, const std::vector<std::string_view>& candidates) {
    return suggestion(word, candidates, word.size() / 4 + 1);
}

std::string suggestion(std::string_view word, const std::vector<std::string_view>& candidates,
                       std::size_t edits) {
    std::string best;
    std::size_t least = edits + 1;
    for (const std::string_view candidate : candidates) {
        const std::size_t needed = distance(word, candidate);
        if (needed < least) {
            least = needed;
            best = candidate;
        }
    }
    return best;
}

std::vector<std::string> nearMatches(std::string_view word,
                                     const std::vector<std::string_view>& candidates) {
    std::vector<std::string> names = withParts(word, candidates, 0);
    if (names.empty()) {
        const std::string nearest = suggestion(word, candidates);
        names = nearest.empty() ? withParts(word, candidates, 1) : std::vector{nearest};
    }
    return names;
}

std::string didYouMean(const std::vector<std::string>& candidates) {
    std::string text;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        text += i == 0 ? ", did you mean " : i + 1 < candidates.size() ? ", " : " or ";
        text += candidates[i];
    }
    return text.empty() ? text : text + '?';
}

std::string didYouMean(std::string_view word, const std::vector<std::string_view>& candidates) {
    return didYouMean(nearMatches(word, candidates));
}

} // namespace sysconfctl
