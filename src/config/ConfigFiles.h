// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

/// The environment and the table of the three configuration files.
namespace Quarncommon::config {

/// A configuration file: its path is the value of an environment variable followed by a suffix.
struct ConfigFile {
    const char* variable;
    const char* suffix;
};

inline constexpr ConfigFile kAppConfig{"APP_CONF_FILE", ""};
inline constexpr ConfigFile kNodeList{"APP_ROOT", "/etc/sysconf/nodelist.json"};
inline constexpr ConfigFile kManagerNodeList{"TOLM_ROOT", "/etc/sysconf/nodelists.json"};

/// The variable that holds the key of this process under "processes".
inline constexpr const char* kInstanceIdVariable = "PROCESS_INSTANCE_ID";

std::string environment(const char* variable);

std::string pathOf(const ConfigFile& file);

/// The same, but returns nothing if the variable is unset.
std::optional<std::string> pathIfSet(const ConfigFile& file);

} // namespace Quarncommon::config
