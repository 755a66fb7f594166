// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace sysconfsync {

/// The exit statuses of the tool. Scripts rely on the numbers.
enum class SyncStatus {
    Done = 0,
    /// The tree has errors, another version has been published, or not all nodes run the version.
    Refused = 1,
    Usage = 2,
    /// etcd does not answer or rejects the request.
    StoreFailed = 3,
    /// A defect of the tool, or output that cannot be written.
    Internal = 70,
};

} // namespace sysconfsync
