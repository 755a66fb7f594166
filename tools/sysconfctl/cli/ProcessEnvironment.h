// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace sysconfctl {

/// The variables of the library in the environment of a process, which is that of its start: an
/// environment that the process changed itself is not visible. Entries that are no assignments are
/// skipped; of several for one variable the first wins, as for getenv().
std::map<std::string, std::string> libraryVariables(const std::string& environ);

/// Makes the working directory of the tool, and the variables of the library, those of a running
/// process. Relative paths then resolve as they do in that process.
/// @throws UsageError if the text is not the id of a process, the process may not be examined, has
/// ended, or has another root directory.
void applyProcess(const std::string& pid);

/// A process whose environment has an app config file.
struct ConfiguredProcess {
    std::string pid;
    std::string instance;
};

/// Those that may be examined.
std::vector<ConfiguredProcess> configuredProcesses();

} // namespace sysconfctl
