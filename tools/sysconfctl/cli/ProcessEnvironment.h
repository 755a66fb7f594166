// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace sysconfctl {

/// Those with which the process was started. If a variable is repeated, the first entry wins, as
/// for getenv().
std::map<std::string, std::string> libraryVariables(const std::string& environ);

/// Changes to the working directory of a running process and sets the library's variables as that
/// process has them.
/// @throws UsageError if the text is not the id of a process, the process may not be examined, has
///         ended, or has another root directory.
void applyProcess(const std::string& pid);

struct ConfiguredProcess {
    std::string pid;
    std::string instance;
};

std::vector<ConfiguredProcess> configuredProcesses();

} // namespace sysconfctl
