// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace sysconfctl {

/// Returns the variables of the library in the environment with which a process was started.
/// Changes that the process made itself are not visible. Entries that are not assignments are
/// skipped. If a variable is repeated, the first entry wins, as for getenv().
std::map<std::string, std::string> libraryVariables(const std::string& environ);

/// Changes to the working directory of a running process and sets the variables of the library as
/// that process has them. Relative paths then resolve as they do in that process.
/// @throws UsageError if the text is not the id of a process, the process may not be examined, has
/// ended, or has another root directory.
void applyProcess(const std::string& pid);

/// A process whose environment names an app config file.
struct ConfiguredProcess {
    std::string pid;
    std::string instance;
};

/// The processes with an app config file that may be examined.
std::vector<ConfiguredProcess> configuredProcesses();

} // namespace sysconfctl
