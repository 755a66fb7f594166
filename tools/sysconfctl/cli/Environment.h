// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sysconfctl {

struct Assignment {
    std::string variable;
    std::string value;
};

/// Parses "KEY=VALUE" of the command line. The value is everything after the first "=".
/// @throws UsageError if there is no "=" or KEY is not a valid variable name.
Assignment parseAssignment(std::string_view text);

/// Parses the text of an environment file: KEY=VALUE lines, blank lines, and comments, which begin
/// with "#". Blanks around the key and the value are ignored. One pair of single or double quotes
/// around a value is removed; nothing inside it is interpreted.
/// @param name The name of the file in error messages.
/// @throws UsageError that names the line, but never contains its value.
std::vector<Assignment> parseEnvFile(const std::string& text, const std::string& name);

/// @throws UsageError if the environment file cannot be read.
std::string readEnvFileText(const std::string& path);

/// @throws UsageError if it cannot be read or is malformed.
std::vector<Assignment> readEnvFile(const std::string& path);

/// Sets the environment of this process to that of the process in question, as sysconfctl(1)
/// describes for --env-file. An empty value stays empty. `sets` are applied after the file, with
/// their values verbatim; the last one for a variable wins.
/// @throws UsageError if the file cannot be read, or the file or an assignment is malformed.
void applyEnvironment(const std::optional<std::string>& envFile,
                      const std::vector<std::string>& sets);

/// Whether all variables that locate the configuration of a process are unset or empty.
bool nothingIsSet();

} // namespace sysconfctl
