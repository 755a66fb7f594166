// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace sysconfctl {

struct CommandWords {
    /// Guarded, in the reverse order that CLI11 expects, with the command last.
    std::vector<std::string> reversed;
    /// The words after "--" of a command that runs a program. They are not parsed: each one reaches
    /// the program verbatim.
    std::vector<std::string> program;
};

/// @throws UsageError if there is no command of that name.
CommandWords commandWords(int argc, const char* const* argv);

/// A parsed word, or a message that contains it, as it was given.
std::string unguarded(std::string text);

/// @throws UsageError with commands that are likely meant, or the command that takes such a query.
[[noreturn]] void rejectCommand(const std::string& word);

} // namespace sysconfctl
