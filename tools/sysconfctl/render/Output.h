#pragma once

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace sysconfctl {

/// Output that could not be written: a full disk, a reader that went away.
struct OutputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Writes the whole text to standard output.
/// @throws OutputError when any of it could not be written.
void writeOutput(std::string_view text);

/// Writes the text to standard error, as far as that can be written.
void writeErrors(std::string_view text);

bool outputIsTerminal();

/// Columns that a line of a table may fill: `COLUMNS`, else those of the terminal, else 100.
std::size_t outputWidth();

} // namespace sysconfctl
