// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "follow/Decision.h"
#include "follow/Folder.h"
#include "follow/RetryPause.h"
#include "store/Store.h"

#include <chrono>
#include <optional>
#include <random>
#include <string>

namespace sysconfsync {

/// Keeps the folder of a node equal to the published version, and reports in etcd which version is
/// applied and which one is refused. Notifies the service manager, if there is one: of readiness
/// when the folder has a version.
class Follower {
public:
    /// @param acceptOlder Whether an older version may replace the applied one.
    Follower(Client& client, const std::string& prefix, Folder& folder, std::string node,
             bool acceptOlder);

    /// Returns when the stop descriptor of the client is readable. Failures of etcd and of the file
    /// system are reported and retried.
    void run();
    /// Applies or refuses what is published. Returns whether the published version is applied.
    /// @throws EtcdError, Cancelled
    bool once();

private:
    /// Settles what is published, then watches until it changes or something has to be repeated.
    void round();
    void settle(const Current& current);
    /// Whether the folder has the files of the applied version, unchanged.
    bool isIntact();
    void apply(const Info& info);
    void refuse(const VersionId& version, Json::Value findings, bool canPass);
    /// Writes the status unless it is already written and still there. Returns false if that fails.
    bool report();
    void failed(const EtcdError& error);

    void notify(const std::string& trouble) const;
    std::chrono::milliseconds untilNextRound(bool isSettled);
    double random() { return m_distribution(m_generator); }
    /// Writes a line to standard error, unless it is the same as the last one.
    void say(const std::string& line);

    Client& m_client;
    Store m_store;
    Folder& m_folder;
    const std::string m_node;
    const bool m_acceptOlder;
    VersionId m_applied;
    /// Whether the files have been compared with those in etcd, as at every start.
    bool m_isCompared = false;
    std::optional<Refused> m_refused;
    Refusal m_refusal;
    std::string m_said;
    /// Whether the last call to etcd failed.
    bool m_isAway = false;
    RetryPause m_pause;
    std::mt19937 m_generator{std::random_device{}()};
    std::uniform_real_distribution<double> m_distribution;
};

} // namespace sysconfsync
