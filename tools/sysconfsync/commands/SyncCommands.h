// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/SyncOptions.h"
#include "cli/SyncStatus.h"

namespace sysconfsync {

/// @throws EtcdError, Cancelled, UsageError

SyncStatus runPublish(const SyncOptions& options);

SyncStatus runRollback(const SyncOptions& options);

SyncStatus runFetch(const SyncOptions& options);

SyncStatus runStatus(const SyncOptions& options);

SyncStatus runFollow(const SyncOptions& options);

} // namespace sysconfsync
