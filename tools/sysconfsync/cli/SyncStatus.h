// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace sysconfsync {

/// The exit statuses of the tool. Scripts rely on the numbers.
enum class SyncStatus {
    Done = 0,
    /// The tree has errors, another version has been published, or not all nodes run the version.
    Refused = 1,
    Usage = 2,
    StoreFailed = 3,
    Internal = 70,
};

} // namespace sysconfsync
