// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

/// The tool changes to the working directory of the process that it examines. Paths in its output
/// and on its command line remain relative to the directory in which the tool was started.
namespace sysconfctl {

/// Changes the working directory. Returns 0 or errno.
int enterDirectory(const std::string& path);
/// Changes it back; does nothing if it was not changed.
void returnToCallerDirectory();

/// The directory in which the tool was started; empty if it has been removed.
std::filesystem::path callerDirectory();

/// Converts a path relative to the working directory into one that is valid in the caller's
/// directory.
std::string pathForCaller(const std::string& path);
/// Converts a path relative to the caller's directory into one that is valid in any directory.
std::string pathOfCaller(const std::string& path);

} // namespace sysconfctl
