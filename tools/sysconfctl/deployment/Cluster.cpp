// SPDX-License-Identifier: Apache-2.0
#include "deployment/Cluster.h"

#include <rules/LocalIPByUsage.h>
#include <rules/NodeList.h>
#include <rules/Roles.h>

#include <algorithm>
#include <exception>
#include <map>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

/// "" if the rule throws.
template <typename Rule>
std::string orNothing(Rule rule) {
    try {
        return rule();
    } catch (const std::exception&) {
        return {};
    }
}

Listed listed(const rules::Node& node) {
    Listed result;
    result.present = true;
    result.role = orNothing([&] { return rules::hostType(node); });
    result.domainType = orNothing([&] { return node["extAttr"]["domain_node_type"].asString(); });
    result.tenancy = orNothing([&] { return rules::tenancy(node); });
    result.hostTag = orNothing([&] { return node["extAttr"]["HOSTID"].asString(); });
    result.addresses = addressesOf(node);
    const auto byTag = [&](std::string_view tag) {
        return orNothing(
            [&] { return rules::addressByTag(rules::addressEntries(node), std::string(tag)); });
    };
    result.maintenance = byTag(rules::kMaintenanceTag);
    result.service = byTag(rules::kServiceTag);
    result.internalService =
        orNothing([&] { return rules::internalServiceAddress(rules::addressEntries(node)); });
    return result;
}

/// Ends at a value of the wrong type.
template <typename Read>
void readWhatFits(Read read) {
    try {
        read();
    } catch (const Json::LogicError&) {
        return;
    }
}

bool isObject(const rules::Node& node) {
    bool object = false;
    readWhatFits([&] { object = !node.members().empty() || node.value().isObject(); });
    return object;
}

void addList(std::map<std::string, ClusterNode>& nodes, const SourceFile& file,
             Listed ClusterNode::*list) {
    for (const auto& [id, entry] : listedNodes(file)) {
        ClusterNode& node = nodes[id];
        node.id = id;
        node.*list = listed(entry);
    }
}

/// A list with some of the nodes, for the rules.
struct PartOfList {
    NodesById nodes;

    const PartOfList& operator[](const char* /*nodeList*/) const { return *this; }
    const NodesById& members() const { return nodes; }
};

/// Finding the roles of all tenancies then visits each node once. Stops at the first node whose
/// tenancy has the wrong type, as the rule does.
std::map<std::string, PartOfList> listsByTenancy(const SourceFile& list) {
    std::map<std::string, PartOfList> lists;
    readWhatFits([&] {
        for (const auto& node : listedNodes(list)) {
            lists[rules::tenancy(node.second)].nodes.push_back(node);
        }
    });
    return lists;
}

void markRoles(std::map<std::string, ClusterNode>& nodes, const SourceFile& manager) {
    for (const auto& part : listsByTenancy(manager)) {
        std::string master;
        std::string standby;
        // The rule throws at a value of the wrong type. Ids that it found before are used.
        readWhatFits(
            [&] { rules::findMasterAndStandby(part.second, part.first, master, standby); });
        const auto mark = [&](const std::string& id, bool ClusterNode::*role) {
            const auto node = nodes.find(id);
            if (!id.empty() && node != nodes.end()) {
                node->second.*role = true;
            }
        };
        mark(master, &ClusterNode::isMaster);
        mark(standby, &ClusterNode::isStandby);
    }
}

} // namespace

std::vector<std::string> ClusterNode::marks() const {
    std::vector<std::string> marks;
    if (isThis) {
        marks.emplace_back("this");
    }
    if (isMaster) {
        marks.emplace_back("master");
    }
    if (isStandby) {
        marks.emplace_back("standby");
    }
    if (!standsInFor.empty()) {
        marks.push_back("stands in for " + standsInFor);
    }
    return marks;
}

std::vector<std::string> ClusterNode::lists() const {
    std::vector<std::string> lists;
    if (nodeList.present) {
        lists.emplace_back("local");
    }
    if (managerNodeList.present) {
        lists.emplace_back("manager");
    }
    return lists;
}

const ClusterNode* Cluster::node(const std::string& id) const {
    const auto found = std::lower_bound(
        nodes.begin(), nodes.end(), id,
        [](const ClusterNode& node, const std::string& wanted) { return node.id < wanted; });
    return found != nodes.end() && found->id == id ? &*found : nullptr;
}

NodesById listedNodes(const SourceFile& list) {
    NodesById nodes;
    readWhatFits([&] { nodes = list.root()["nodeList"].members(); });
    return nodes;
}

Address addressOf(const rules::Node& entry) {
    Address address{orNothing([&] { return entry["IP"].asString(); }), {}};
    readWhatFits([&] {
        for (const rules::Node& tag : entry["usage"].elements()) {
            address.tags.push_back(orNothing([&] { return rules::lowerCased(tag.asString()); }));
        }
    });
    return address;
}

std::vector<Address> addressesOf(const rules::Node& node) {
    std::vector<Address> addresses;
    readWhatFits([&] {
        for (const rules::Node& entry : node["IPAddresses"].elements()) {
            if (isObject(entry)) {
                addresses.push_back(addressOf(entry));
            }
        }
    });
    return addresses;
}

Cluster clusterOf(const Sources& sources) {
    Loaded loaded;
    loaded.load(sources);
    Cluster cluster;
    cluster.instanceId = sources.instance.text();
    cluster.thisNodeId = loaded.values().nodeId;
    cluster.floatNodeId = loaded.values().floatNodeId;
    cluster.tenancy = loaded.values().tenancy;
    for (const SourceFile* file :
         {&sources.appConfig, &sources.nodeList, &sources.managerNodeList}) {
        if (!file->loads) {
            cluster.troubles.push_back(std::string(file->title) +
                                       " does not load: " + file->trouble());
        }
    }
    std::map<std::string, ClusterNode> nodes;
    addList(nodes, sources.nodeList, &ClusterNode::nodeList);
    addList(nodes, sources.managerNodeList, &ClusterNode::managerNodeList);
    markRoles(nodes, sources.managerNodeList);
    for (auto& [id, node] : nodes) {
        node.isThis = id == cluster.thisNodeId;
        if (node.isThis && cluster.floatNodeId != cluster.thisNodeId) {
            node.standsInFor = cluster.floatNodeId;
        }
        cluster.nodes.push_back(std::move(node));
    }
    return cluster;
}

} // namespace sysconfctl
