// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/SharedQueries.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace sysconfctl {

/// Replaces a password of any length.
inline constexpr std::string_view kMask = "********";

/// Whether the name of a member indicates a password. Matches more than the one name that the
/// library reads, so that a misspelt or additional password of an entry is masked, too.
bool indicatesPassword(std::string name);

/// The end of the first word in the text that indicates a password; npos if there is none.
std::size_t endOfPasswordWord(std::string text);

/// Replaces the secret part of the answer by kMask. An empty password is not a secret.
void mask(Answer& answer, Secret secret);

} // namespace sysconfctl
