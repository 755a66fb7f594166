// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/SyncOptions.h"
#include "store/Store.h"

#include <string>

namespace sysconfsync {

/// Writes both versions into a temporary folder, which is removed, and leaves the working
/// directory.
std::string dryRun(const Nodes& before, const Nodes& after, const Current& base,
                   const Transaction& publication, const SyncOptions& options);

} // namespace sysconfsync
