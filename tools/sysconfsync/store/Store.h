// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "etcd/Client.h"
#include "store/Records.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace sysconfsync {

struct Current {
    /// Unset: nothing has been published.
    std::optional<Info> info = std::nullopt;
    /// The revision of the last change of the key; 0: it does not exist.
    std::int64_t modRevision = 0;
    /// The revision of the store. A watch from `revision + 1` on reports every later change.
    std::int64_t revision = 0;

    std::int64_t version() const { return info ? info->version : 0; }
};

struct Statuses {
    std::map<std::string, NodeStatus> nodes;
    std::int64_t revision = 0;
};

/// The versions of a deployment and the statuses of its nodes in etcd. Records.h has the keys.
/// All operations throw EtcdError or Cancelled.
class Store {
public:
    /// @param prefix Ends with "/".
    Store(Client& client, std::string prefix);

    Current current();
    /// The info of a version; unset if it does not exist or has been deleted.
    std::optional<Info> info(std::int64_t version);
    /// Unset if the version does not exist or has no such node. Nothing else writes the keys of a
    /// version, so all files belong together.
    /// @param known Files that the caller has; shared files with the same bytes are not read again.
    std::optional<Files> node(std::int64_t version, const std::string& name,
                              const Files& known = {});
    Nodes nodes(std::int64_t version);
    std::set<std::string> nodeNames(std::int64_t version);

    Statuses statuses();
    /// The text of a node's status; empty if there is none.
    std::string statusText(const std::string& name);
    void writeStatus(const std::string& name, const NodeStatus& status);

    /// Calls `onCurrent` with each version that becomes current from that revision of the store on,
    /// until it returns false, the deadline is reached or the descriptor is readable. If the
    /// history has been deleted, versions that are no longer current are left out.
    WatchEnd watchCurrent(std::int64_t fromRevision,
                          const std::function<bool(const Current&)>& onCurrent,
                          Clock::time_point deadline = Clock::time_point::max(),
                          int wakeDescriptor = -1);
    /// Keeps `statuses` up to date and calls `onChange` after each change, likewise.
    WatchEnd watchStatuses(Statuses& statuses, const std::function<bool()>& onChange,
                           Clock::time_point deadline);

    /// The transaction that publishes the nodes as the version in `info`, if nothing else has been
    /// published since `base` was read.
    Transaction publication(const Nodes& nodes, const Info& info, const Current& base) const;
    /// Publishes all of it or nothing.
    /// @return Unset if the version is published; otherwise what is current instead of the base.
    /// @throws EtcdError with `mayBeApplied` if that remains unknown.
    std::optional<Current> publish(const Transaction& publication, const Info& info);

    void deleteOld(std::size_t keep);

    const std::string& clusterId() const { return m_client.clusterId(); }

private:
    std::string key(const std::string& rest) const { return m_prefix + rest; }
    std::string versionKey(std::int64_t version, const std::string& rest) const;

    Client& m_client;
    std::string m_prefix;
};

} // namespace sysconfsync
