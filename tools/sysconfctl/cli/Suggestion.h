#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// The candidate that `word` was probably meant to be: the one with the fewest letters to insert,
/// remove or replace, if they are few for its length. Else "".
std::string suggestion(std::string_view word, const std::vector<std::string_view>& candidates);

} // namespace sysconfctl
