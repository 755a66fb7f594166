// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

namespace sysconfctl {

/// They are those of the start of the process. Of repeated ones the first wins, as in getenv().
std::map<std::string, std::string> libraryVariables(const std::string& environ);

/// Changes to the working directory of a running process and sets its variables here.
/// @throws UsageError if the text is not the id of a process, the process may not be examined, has
///         ended, or has another root directory.
void applyProcess(const std::string& pid);

struct ConfiguredProcess {
    std::string pid;
    std::string instance;
};

std::vector<ConfiguredProcess> configuredProcesses();

} // namespace sysconfctl
