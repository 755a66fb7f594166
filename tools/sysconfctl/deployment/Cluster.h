// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Loaded.h"

#include <string>
#include <vector>

namespace sysconfctl {

/// An address entry: its address and its tags, lower-cased as the library compares them.
struct Address {
    std::string ip;
    std::vector<std::string> tags;
};

/// A node as described by one list.
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

/// A node that is in at least one of the lists.
struct ClusterNode {
    std::string id;
    Listed nodeList;
    Listed managerNodeList;
    bool isThis = false;
    bool isMaster = false;  ///< the master of its tenancy in the manager node list
    bool isStandby = false; ///< the standby of its tenancy there
    std::string standsInFor;

    /// The entry in the node list or, if there is none, in the manager node list.
    const Listed& listing() const { return nodeList.present ? nodeList : managerNodeList; }
    /// "this", "master", "standby", "stands in for n1".
    std::vector<std::string> marks() const;
    /// "local" for the node list, "manager" for the manager node list.
    std::vector<std::string> lists() const;
};

/// The deployment as the library sees it from this process.
struct Cluster {
    std::string instanceId;
    std::string thisNodeId;
    std::string floatNodeId;
    std::string tenancy;
    /// In ascending order of ids until sortNodes() is called.
    std::vector<ClusterNode> nodes;
    /// Why files do not load; one line for each file.
    std::vector<std::string> troubles;

    /// The node with that id, or null. Must not be called after sortNodes().
    const ClusterNode* node(const std::string& id) const;
};

/// An address entry, which must be an object.
Address addressOf(const Json::Value& entry);
/// The address entries of a node entry. Entries that are not objects are skipped.
std::vector<Address> addressesOf(const Json::Value& node);

Cluster clusterOf(const Sources& sources);

} // namespace sysconfctl
