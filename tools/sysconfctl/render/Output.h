// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace sysconfctl {

struct OutputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The reader of the output has closed the pipe, as `head` does.
struct OutputClosed : OutputError {
    using OutputError::OutputError;
};

void allowPager();

/// Uses the pager if it is allowed, standard output is a terminal and the text does not fit on it.
/// @throws OutputClosed, OutputError if any of it cannot be written.
void writeOutput(std::string_view text);

/// Returns 0 or the error number.
int writeAll(int descriptor, std::string_view text);

/// @throws OutputError if any of it cannot be written.
void writeOutputFile(const std::string& path, std::string_view text);

/// A failure is ignored.
void writeErrors(std::string_view text);

bool outputIsTerminal();

/// The width of tables: `COLUMNS`, else the width of the terminal, else 100.
std::size_t outputWidth();

} // namespace sysconfctl
