// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// Returns the candidate with the smallest edit distance to `word`, or "" if none is near enough
/// for its length.
std::string suggestion(std::string_view word, const std::vector<std::string_view>& candidates);

} // namespace sysconfctl
