// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/SyncOptions.h"
#include "cli/SyncStatus.h"

#include <string>

namespace sysconfsync {

/// The request of a command line: a command to run, or a text (help, version) to print.
struct SyncRequest {
    SyncOptions options;
    SyncStatus (*run)(const SyncOptions& options) = nullptr;
    std::string text;
};

/// Reads the environment variables of the tool, too.
/// @throws UsageError if the command line is invalid, or the password file cannot be read.
SyncRequest parseSyncCommandLine(int argc, const char* const* argv);

} // namespace sysconfsync
