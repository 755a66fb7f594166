// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "query/Reply.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// The answer as escaped lines for scripts: one line for a text, a number or JSON, one line for
/// each item of a list, one tab-separated line for each key of a map and its texts. Empty for no
/// answer.
std::vector<std::string> plainLines(const Answer& answer);

/// Shown for no answer, and for an empty list or map.
inline constexpr std::string_view kNoAnswerText = "(no answer)";
inline constexpr std::string_view kEmptyText = "(empty)";

/// The message of the exception that the library threw, escaped: "error: ...".
std::string errorText(const std::string& message);

/// The lines of a reply for people: those of its answer, or one of the texts above. Never empty.
std::vector<std::string> shownLines(const Reply& reply);

} // namespace sysconfctl
