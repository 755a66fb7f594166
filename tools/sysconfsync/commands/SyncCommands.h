// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/SyncOptions.h"
#include "cli/SyncStatus.h"

namespace sysconfsync {

/// Each command runs with SIGINT, SIGTERM and SIGHUP blocked; they make the stop descriptor of the
/// connection readable.
/// @throws EtcdError, Cancelled, UsageError

/// Checks a tree and publishes it as the next version.
SyncStatus runPublish(const SyncOptions& options);

/// Publishes an older version again, as the next version.
SyncStatus runRollback(const SyncOptions& options);

/// Writes the files of a version into a new tree.
SyncStatus runFetch(const SyncOptions& options);

/// Shows which version each node runs, or waits until all run one.
SyncStatus runStatus(const SyncOptions& options);

/// Keeps the files of one node up to date.
SyncStatus runFollow(const SyncOptions& options);

} // namespace sysconfsync
