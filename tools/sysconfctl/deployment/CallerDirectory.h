// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

/// The tool changes to the working directory of the process that it examines. Paths in its output
/// and on its command line remain relative to the caller's directory.
namespace sysconfctl {

/// Returns 0 or errno.
int enterDirectory(const std::string& path);
void returnToCallerDirectory();

/// Empty if it has been removed.
std::filesystem::path callerDirectory();

/// Converts a path in the working directory to one in the caller's.
std::string pathForCaller(const std::string& path);
/// Converts a path in the caller's directory to one that is valid in any.
std::string pathOfCaller(const std::string& path);

} // namespace sysconfctl
