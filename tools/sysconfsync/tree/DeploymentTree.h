// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "check/Finding.h"
#include "store/Records.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The tree of a deployment, as it is published. sysconfsync(1) describes it. The paths in its env
/// files are relative to the env file, so they are valid in DIR and in the folder of the node.
namespace sysconfsync {

struct CollectedTree {
    Nodes nodes;
    /// Why the tree cannot be published; one sentence each.
    std::vector<std::string> problems;
    /// Deployment files that no env file names.
    std::vector<std::string> leftOut;
};

/// Collects the files of each node from the inventory of the directory. Files are published as they
/// were read for the inventory, so that what is published is what has been checked.
CollectedTree collectTree(const sysconfctl::Inventory& inventory, const std::string& directory);

/// Writes the files of all nodes into the directory, which is created if necessary.
/// @throws OutputError, std::filesystem::filesystem_error
void writeTree(const Nodes& nodes, const std::string& directory);

/// The version that a tree is based on. Another cluster or prefix has other versions.
struct TreeState {
    std::string cluster = {};
    std::string prefix = {};
    std::int64_t version = 0;
    /// Info::id. After a restore of etcd, another version may get the same number. Empty: unknown.
    std::string id = {};
};

/// Unset if the tree has no state file.
/// @throws UsageError if the file is malformed or cannot be read.
std::optional<TreeState> readState(const std::string& directory);
/// @throws OutputError
void writeState(const std::string& directory, const TreeState& state);

} // namespace sysconfsync
