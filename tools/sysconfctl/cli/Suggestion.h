// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// Returns "" if no candidate is near enough for the length of the word.
std::string suggestion(std::string_view word, const std::vector<std::string_view>& candidates);
/// Likewise, with at most the given number of edits.
std::string suggestion(std::string_view word, const std::vector<std::string_view>& candidates,
                       std::size_t edits);

/// At most three candidates. Those that contain all parts of the word take precedence, fewest other
/// parts first: "service-ip" in "local-service-ip"; parts end at "-", at "_" and before a capital
/// letter. Then the suggestion, or those that contain all parts with one wrong letter each.
std::vector<std::string> nearMatches(std::string_view word,
                                     const std::vector<std::string_view>& candidates);

/// ", did you mean A, B or C?", or "" without candidates.
std::string didYouMean(const std::vector<std::string>& candidates);
std::string didYouMean(std::string_view word, const std::vector<std::string_view>& candidates);

} // namespace sysconfctl
