// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Loaded.h"

#include <string>
#include <utility>
#include <vector>

namespace sysconfctl {

/// The tags are lower-cased as the library compares them.
struct Address {
    std::string ip;
    std::vector<std::string> tags;
};

struct Listed {
    bool present = false;
    std::string role;
    std::string domainType;
    std::string tenancy;
    std::string hostTag;
    std::vector<Address> addresses;
    std::string maintenance;
    std::string service;
    std::string internalService;
};

struct ClusterNode {
    std::string id;
    Listed nodeList;
    Listed managerNodeList;
    bool isThis = false;
    bool isMaster = false;  ///< the master of its tenancy in the manager node list
    bool isStandby = false; ///< the standby of its tenancy there
    std::string standsInFor;

    const Listed& listing() const { return nodeList.present ? nodeList : managerNodeList; }
    /// For people: "this", "master", "standby".
    std::vector<std::string> marks() const;
    /// "local" for the node list, "manager" for the manager node list.
    std::vector<std::string> lists() const;
};

struct Cluster {
    std::string instanceId;
    std::string thisNodeId;
    std::string floatNodeId;
    std::string tenancy;
    /// In ascending order of ids until sortNodes() is called.
    std::vector<ClusterNode> nodes;
    /// One line for each file.
    std::vector<std::string> troubles;

    /// The node with that id, or null. Must not be called after sortNodes().
    const ClusterNode* node(const std::string& id) const;
};

using NodesById = std::vector<std::pair<std::string, Quarncommon::rules::Node>>;

/// In ascending order of ids. Valid as long as the list's root.
NodesById listedNodes(const SourceFile& list);
/// The entry must be an object.
Address addressOf(const Quarncommon::rules::Node& entry);
/// Entries that are not objects are skipped.
std::vector<Address> addressesOf(const Quarncommon::rules::Node& node);

Cluster clusterOf(const Sources& sources);

} // namespace sysconfctl
