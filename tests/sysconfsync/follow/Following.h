// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/Store.h"
#include "support/Command.h"
#include "sysconfsync/Etcd.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// `sysconfsync follow` of the sample node "node-2", against three members of etcd.
namespace following {

using namespace sysconfsync;

/// The files of the node. The process in them has that port.
Files filesOf(int port);

class Follow : public support::EtcdTest {
protected:
    std::filesystem::path m_folder;
    std::optional<support::Etcd> m_etcd;
    std::optional<Client> m_client;
    std::optional<Store> m_store;

    void SetUp() override;
    void connect(std::size_t first);
    /// The member that the followers of the node begin with.
    std::size_t memberOfFollower() const;

    /// Publishes the next version, unchecked.
    void publish(int port) { publish(filesOf(port)); }
    void publish(const Files& files) { publish(Nodes{{"node-2", files}}); }
    void publish(const Nodes& nodes);
    /// Makes an older version the current one, as a restored backup does.
    void publishAgain(std::int64_t version);
    void put(const std::string& key, const std::string& value);
    void compact();
    /// The alarm "no space" of all members: they accept no writes until it is cleared.
    void setAlarm(bool on);
    void killAllMembers();

    NodeStatus status();
    /// Waits for a status of the node. Returns the first one that matches.
    NodeStatus waitFor(const std::function<bool(const NodeStatus&)>& matches);
    void waitForApplied(std::int64_t version);
    Refusal waitForRefusal(std::int64_t version);

    std::vector<std::string> followArguments(const std::vector<std::string>& more) const;
    support::Command followCommand(const std::vector<std::string>& more = {}) const;
    support::RunningCommand follow() const { return followCommand().start(); }
    support::CommandResult once(std::vector<std::string> more = {}) const;
    /// `sysconfctl watch` of the port, with the event library, in the environment of the node.
    support::RunningCommand watchPort() const;

    int appliedVersion() const;
    /// Expects all files of the applied version, and no other ones, to be those with that port.
    void expectWhole(int port) const;
};

} // namespace following
