#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

/// A line that is being typed in bash, up to the cursor. Nothing in it is expanded or run: quotes
/// and backslashes are taken off, "$" and backquotes are letters like any other.
struct ShellLine {
    /// What stands in front of the cursor is the last one, which may be empty.
    std::vector<std::string> words;
    /// The quote in which the cursor is: ', ", $ for $'...', or 0.
    char quote = 0;
    /// How much of the last word stays when the shell puts a completion in its place. Its own words
    /// are shorter: they begin behind every "=" and ":".
    std::size_t kept = 0;
    /// The last word names a file that a redirection opens.
    bool redirection = false;
};

/// @param breaks The characters behind which the shell begins a word of its own.
ShellLine readShellLine(std::string_view line, std::string_view breaks);

/// The text as it has to stand inside that quote, or outside of any, to mean itself.
std::string shellQuoted(std::string_view text, char quote);

} // namespace sysconfctl
