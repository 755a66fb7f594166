// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

/// The tool works in the directory of the process that it examines, but the paths that it shows,
/// and those that the user writes, start at the directory in which the tool was started.
namespace sysconfctl {

/// Changes the working directory. Returns 0 or the error number.
int enterDirectory(const std::string& path);
/// Changes it back; does nothing if it was not changed.
void returnToCallerDirectory();

/// The directory in which the tool was started; empty if it has been removed.
std::filesystem::path callerDirectory();

/// A path that starts at the working directory, as it can be used in the directory of the caller.
std::string pathForCaller(const std::string& path);
/// A path that starts at the directory of the caller, as it can be used in any.
std::string pathOfCaller(const std::string& path);

} // namespace sysconfctl
