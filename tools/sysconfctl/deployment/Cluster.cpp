// SPDX-License-Identifier: Apache-2.0
#include "deployment/Cluster.h"

#include <base/Exceptions.h>
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

Listed listed(const Json::Value& node) {
    Listed result;
    result.present = true;
    const rules::Node place(node);
    result.role = orNothing([&] { return rules::hostType(place); });
    result.domainType = orNothing([&] { return place["extAttr"]["domain_node_type"].asString(); });
    result.tenancy = orNothing([&] { return rules::tenancy(place); });
    result.hostTag = orNothing([&] { return place["extAttr"]["HOSTID"].asString(); });
    result.addresses = addressesOf(node);
    const auto byTag = [&](std::string_view tag) {
        return orNothing(
            [&] { return rules::addressByTag(rules::addressEntries(place), std::string(tag)); });
    };
    result.maintenance = byTag(rules::kMaintenanceTag);
    result.service = byTag(rules::kServiceTag);
    result.internalService =
        orNothing([&] { return rules::internalServiceAddress(rules::addressEntries(place)); });
    return result;
}

void addList(std::map<std::string, ClusterNode>& nodes, const SourceFile& file,
             Listed ClusterNode::*list) {
    if (!file.tree.isObject() || !file.tree["nodeList"].isObject()) {
        return;
    }
    const Json::Value& entries = file.tree["nodeList"];
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        ClusterNode& node = nodes[entry.name()];
        node.id = entry.name();
        node.*list = listed(*entry);
    }
}

/// The addresses are most of a node's size.
Json::Value withoutAddresses(const Json::Value& node) {
    if (!node.isObject()) {
        return node;
    }
    Json::Value copy(Json::objectValue);
    for (auto member = node.begin(); member != node.end(); ++member) {
        if (member.name() != "IPAddresses") {
            copy[member.name()] = *member;
        }
    }
    return copy;
}

/// Finding the roles of all tenancies then visits each node once. Stops at the first node whose
/// tenancy has the wrong type, as the rule does.
std::map<std::string, Json::Value> listsByTenancy(const Json::Value& list) {
    std::map<std::string, Json::Value> lists;
    Quarncommon::runDroppingExceptions([&] {
        const Json::Value& nodes = list["nodeList"];
        for (auto node = nodes.begin(); nodes.isObject() && node != nodes.end(); ++node) {
            lists[rules::tenancy(*node)]["nodeList"][node.name()] = withoutAddresses(*node);
        }
    });
    return lists;
}

void markRoles(std::map<std::string, ClusterNode>& nodes, const SourceFile& manager) {
    for (const auto& list : listsByTenancy(manager.tree)) {
        std::string master;
        std::string standby;
        // The rule throws at a value of the wrong type. Ids that it found before are used.
        Quarncommon::runDroppingExceptions([&] {
            rules::findMasterAndStandby(rules::Node(list.second), list.first, master, standby);
        });
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

Address addressOf(const Json::Value& entry) {
    Address address{orNothing([&] { return entry["IP"].asString(); }), {}};
    if (entry["usage"].isArray()) {
        for (const Json::Value& tag : entry["usage"]) {
            address.tags.push_back(orNothing([&] { return rules::lowerCased(tag.asString()); }));
        }
    }
    return address;
}

std::vector<Address> addressesOf(const Json::Value& node) {
    std::vector<Address> addresses;
    if (!node.isObject() || !node["IPAddresses"].isArray()) {
        return addresses;
    }
    for (const Json::Value& entry : node["IPAddresses"]) {
        if (entry.isObject()) {
            addresses.push_back(addressOf(entry));
        }
    }
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
