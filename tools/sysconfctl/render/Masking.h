// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/SharedQueries.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace sysconfctl {

/// Shown instead of a secret, whatever its length.
inline constexpr std::string_view kMask = "********";

/// Matches more than the name that the library reads: misspelt and additional passwords, too.
bool indicatesPassword(std::string name);

std::size_t endOfPasswordWord(std::string text);

/// True for the fields that queries read, except the password.
bool isShownField(std::string_view name);

inline constexpr std::string_view kNestedFields = "instanceExt";

/// "user:password@host", "user/password@host", "password=...".
bool holdsLoginData(std::string_view text);

/// An empty text, list or object is not a secret.
void mask(Answer& answer, Secret secret);

} // namespace sysconfctl
