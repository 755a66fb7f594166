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

/// "KEY=VALUE" as given on the command line: everything behind the first "=" is the value.
/// @throws UsageError when there is no "=" or KEY is no variable name.
Assignment parseAssignment(std::string_view text);

/// The assignments of an environment file's text: KEY=VALUE lines, blank lines, and lines that
/// begin with "#". Blanks around the key and the value do not count; a value in a pair of quotes,
/// single or double, is what stands between them, with nothing interpreted.
/// @param name What error messages call the file.
/// @throws UsageError naming the line, never its value.
std::vector<Assignment> parseEnvFile(const std::string& text, const std::string& name);

/// Gives this process the environment of the one asked about.
///
/// An environment file stands for the whole configuration of a process: those of `APP_CONF_FILE`,
/// `PROCESS_INSTANCE_ID`, `APP_ROOT` and `TOLM_ROOT` that it does not name are unset. A relative
/// path in one of the three path variables starts at the file's own folder; an empty value stays
/// empty. `sets` come after the file, the last one for a variable counts, and their values are
/// taken as they stand.
/// @throws UsageError when the file cannot be read or understood, or an assignment cannot.
void applyEnvironment(const std::optional<std::string>& envFile,
                      const std::vector<std::string>& sets);

} // namespace sysconfctl
