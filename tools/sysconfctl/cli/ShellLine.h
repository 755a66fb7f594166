// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// A bash command line up to the cursor, unquoted. Nothing in it is expanded or run.
struct ShellLine {
    /// The word at the cursor is the last one, possibly empty.
    std::vector<std::string> words;
    /// The quote that is open at the cursor: ', ", $ for $'...', or 0.
    char quote = 0;
    /// How much of the last word stays: for bash a new word begins after each "=" and ":".
    std::size_t kept = 0;
    /// The last word is the file of a redirection.
    bool redirection = false;
};

/// @param breaks COMP_WORDBREAKS: the shell begins a new word after each of these characters.
ShellLine readShellLine(std::string_view line, std::string_view breaks);

/// 0: outside of any quote.
std::string shellQuoted(std::string_view text, char quote);

} // namespace sysconfctl
