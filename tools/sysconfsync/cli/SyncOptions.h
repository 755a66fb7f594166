// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cli/CommandTable.h"
#include "etcd/Transport.h"
#include "render/Color.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace sysconfsync {

struct SyncOptions {
    Connection connection;
    /// Ends with "/".
    std::string prefix = "/sysconf/";
    sysconfctl::Format format = sysconfctl::Format::Table;
    sysconfctl::ColorChoice color = sysconfctl::ColorChoice::Auto;

    /// The tree to publish, or to write; the folder of a node.
    std::string directory;
    /// Unset: the version in the state file of the tree.
    std::optional<std::int64_t> basedOn;
    std::string message;
    bool dryRun = false;
    bool removeNodes = false;
    std::size_t keep = 10;
    /// The version to publish again or to fetch; unset: the current one.
    std::optional<std::int64_t> version;
    std::optional<std::int64_t> wait;
    std::string node;
    bool once = false;
    bool acceptOlder = false;
    /// Unset: no limit.
    std::optional<std::chrono::seconds> timeout;
};

} // namespace sysconfsync
