// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/Reply.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// Escaped, for scripts: a line for a text, a number or JSON, one for each item of a list, a
/// tab-separated one for each key of a map and its texts. Empty for no answer.
std::vector<std::string> plainLines(const Answer& answer);

inline constexpr std::string_view kNoAnswerText = "(no answer)";
inline constexpr std::string_view kEmptyText = "(empty)";

/// Escaped: "error: ...".
std::string errorText(const std::string& message);

/// The lines for people. Never empty.
std::vector<std::string> shownLines(const Reply& reply);

} // namespace sysconfctl
