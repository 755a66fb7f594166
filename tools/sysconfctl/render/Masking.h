// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/SharedQueries.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace sysconfctl {

/// Shown instead of a secret, whatever its length.
inline constexpr std::string_view kMask = "********";

/// Whether the name of a member indicates a password. Matches more than the one name that the
/// library reads, so that misspelt and additional passwords are also masked.
bool indicatesPassword(std::string name);

/// The end of the first word in the text that indicates a password; npos if there is none.
std::size_t endOfPasswordWord(std::string text);

/// Whether a member of a database entry with that name is shown: true for the fields that queries
/// read, except the password. Any other member may be a secret.
bool isShownField(std::string_view name);

/// The name of the member of an entry that is an object with more fields.
inline constexpr std::string_view kNestedFields = "instanceExt";

/// Whether a text holds login data: "user:password@host", "user/password@host", "password=...".
bool holdsLoginData(std::string_view text);

/// Replaces the secret part of the answer by kMask. An empty text, list or object is not a secret.
void mask(Answer& answer, Secret secret);

} // namespace sysconfctl
