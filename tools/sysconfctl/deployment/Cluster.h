#pragma once

#include "deployment/Loaded.h"

#include <string>
#include <vector>

namespace sysconfctl {

/// An address entry: where it stands, its address and its tags, lower-cased as the library compares
/// them.
struct Address {
    std::string ip;
    std::vector<std::string> tags;
};

/// What one list says of a node.
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

/// A node of either list.
struct ClusterNode {
    std::string id;
    Listed nodeList;
    Listed managerNodeList;
    bool isThis = false;
    bool isMaster = false;  ///< of its tenancy, by the manager node list
    bool isStandby = false; ///< the same
    std::string standsInFor;

    /// What the node list says, else what the manager node list says.
    const Listed& told() const { return nodeList.present ? nodeList : managerNodeList; }
    /// "this", "master", "standby", "stands in for n1"; escaped.
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
    /// In ascending order of their ids.
    std::vector<ClusterNode> nodes;
    /// Why a file does not load; one line a file.
    std::vector<std::string> troubles;

    const ClusterNode* node(const std::string& id) const;
};

Cluster clusterOf(const Sources& sources);

} // namespace sysconfctl
