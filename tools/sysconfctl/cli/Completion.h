// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/ExitStatus.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// The command that the completion scripts of the shells call; not documented for users.
inline constexpr std::string_view kCompleteCommand = "__complete";

/// Neither text is escaped.
struct Candidate {
    std::string text;
    std::string help;
};

struct Completion {
    /// File names are allowed, after the "=" if the word has one.
    bool files = false;
    std::vector<Candidate> candidates;
};

/// Candidates need not begin with the last word. Those with invisible characters are left out.
/// @param words At least one; without the name of the tool.
Completion completionOf(const std::vector<std::string>& words);

/// Runs "bash BREAKS LINE", "zsh WORD..." or "fish WORD...". Writes ":values" or ":files", then a
/// line for each candidate: for bash the quoted text to insert, else the candidate, a tab and its
/// help. Never writes an error.
ExitStatus runComplete(const std::vector<std::string>& words) noexcept;

} // namespace sysconfctl
