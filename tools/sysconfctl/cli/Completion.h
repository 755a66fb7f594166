#pragma once

#include "cli/ExitStatus.h"

#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// What the completion scripts of the shells call; no command for people.
inline constexpr std::string_view kCompleteCommand = "__complete";

/// A word that may stand at the cursor, and what it is.
struct Candidate {
    std::string text;
    std::string help;
};

struct Completion {
    /// Names of files may stand there, behind an "=" in the word if it has one.
    bool files = false;
    std::vector<Candidate> candidates;
};

/// What may stand in place of the last word, behind the others: commands, options, queries, and by
/// the files of the current environment the ids, tags and names in them. Not all begin as the last
/// word does. Texts that a terminal would not show as they stand are left out.
/// @param words Without the name of the tool; at least one.
Completion completionOf(const std::vector<std::string>& words);

/// "bash BREAKS LINE", "zsh WORD..." or "fish WORD...". Writes ":values" or ":files", then one
/// candidate a line: for bash as it is to be inserted, else the candidate and its help behind a
/// tab. Nothing where there is nothing to complete, and never an error.
ExitStatus runComplete(const std::vector<std::string>& words) noexcept;

} // namespace sysconfctl
