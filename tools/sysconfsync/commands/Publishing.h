// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/SyncOptions.h"
#include "store/Store.h"

#include <string>

namespace sysconfsync {

Info nextInfo(const Current& base, const std::string& message);

/// "version 7 (alice@host, 2026-11-22T14:00:00Z, new addresses)"
std::string describe(const Info& info);

/// "there is no version 7, or it has been deleted"
std::string noVersionText(std::int64_t version);

/// "140 operations and 1600000 bytes"
std::string sizeText(const Transaction& publication);

/// Whether the nodes include all of the current version, or the options allow the removal of some.
/// Reports otherwise.
bool keepsNodes(Store& store, const Nodes& nodes, const Current& current,
                const SyncOptions& options);

/// Publishes the nodes on top of `base`, and writes the state of the tree, if there is one. Then
/// reports the result and deletes old versions.
/// @return Whether it is published; false if another version has been published since `base`.
/// @throws EtcdError, Cancelled. The message says whether the version may be published.
bool publishNodes(Store& store, const Nodes& nodes, const Info& info, const Current& base,
                  const SyncOptions& options);

} // namespace sysconfsync
