// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// Returns the candidate with the smallest edit distance to `word`, or "" if none is near enough
/// for its length.
std::string suggestion(std::string_view word, const std::vector<std::string_view>& candidates);
/// The same with at most that many edits.
std::string suggestion(std::string_view word, const std::vector<std::string_view>& candidates,
                       std::size_t edits);

/// Returns at most three candidates that are likely meant: those that have all parts of the word
/// ("service-ip" in "local-service-ip"; parts end at "-", "_" and before a capital letter), those
/// with fewest other parts first; else the suggestion; else those that have all parts, one letter
/// of each wrong.
std::vector<std::string> nearMatches(std::string_view word,
                                     const std::vector<std::string_view>& candidates);

/// ", did you mean A, B or C?", or "" without candidates.
std::string didYouMean(const std::vector<std::string>& candidates);
std::string didYouMean(std::string_view word, const std::vector<std::string_view>& candidates);

} // namespace sysconfctl
