#include "deployment/Cluster.h"

#include "Text.h"

#include <rules/LocalIPByUsage.h>
#include <rules/NodeList.h>
#include <rules/Roles.h>
#include <sysconfreader/Guards.h>

#include <algorithm>
#include <exception>
#include <map>
#include <set>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

/// An answer of a rule, "" where a value of the wrong type gives none.
template <typename Rule>
std::string orNothing(Rule rule) {
    try {
        return rule();
    } catch (const std::exception&) {
        return {};
    }
}

std::vector<Address> addressesOf(const Json::Value& node) {
    std::vector<Address> addresses;
    if (!node.isObject() || !node["IPAddresses"].isArray()) {
        return addresses;
    }
    for (const Json::Value& entry : node["IPAddresses"]) {
        if (!entry.isObject()) {
            continue;
        }
        Address address{orNothing([&] { return entry["IP"].asString(); }), {}};
        if (entry["usage"].isArray()) {
            for (const Json::Value& tag : entry["usage"]) {
                address.tags.push_back(
                    orNothing([&] { return rules::lowerCased(tag.asString()); }));
            }
        }
        addresses.push_back(std::move(address));
    }
    return addresses;
}

Listed listed(const Json::Value& node) {
    Listed told;
    told.present = true;
    const rules::Node place(node);
    told.role = orNothing([&] { return rules::hostType(place); });
    told.domainType = orNothing([&] { return place["extAttr"]["domain_node_type"].asString(); });
    told.tenancy = orNothing([&] { return rules::tenancy(place); });
    told.hostTag = orNothing([&] { return place["extAttr"]["HOSTID"].asString(); });
    told.addresses = addressesOf(node);
    const auto byTag = [&](std::string_view tag) {
        return orNothing(
            [&] { return rules::addressByTag(rules::addressEntries(place), std::string(tag)); });
    };
    told.maintenance = byTag(rules::kMaintenanceTag);
    told.service = byTag(rules::kServiceTag);
    told.internalService =
        orNothing([&] { return rules::internalServiceAddress(rules::addressEntries(place)); });
    return told;
}

void addList(std::map<std::string, ClusterNode>& nodes, const SourceFile& file,
             Listed ClusterNode::*list) {
    if (!file.tree.isObject() || !file.tree["nodeList"].isObject()) {
        return;
    }
    const Json::Value& entries = file.tree["nodeList"];
    for (const std::string& id : entries.getMemberNames()) {
        ClusterNode& node = nodes[id];
        node.id = id;
        node.*list = listed(entries[id]);
    }
}

/// Marks the master and the standby of every tenancy of the manager node list.
void markRoles(std::map<std::string, ClusterNode>& nodes, const SourceFile& manager) {
    std::set<std::string> tenancies;
    for (const auto& [id, node] : nodes) {
        if (node.managerNodeList.present) {
            tenancies.insert(node.managerNodeList.tenancy);
        }
    }
    for (const std::string& tenancy : tenancies) {
        std::string master;
        std::string standby;
        // The ids found before a value that the rule cannot take count.
        Quarncommon::completes([&] {
            rules::findMasterAndStandby(rules::Node(manager.tree), tenancy, master, standby);
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
        marks.push_back("stands in for " + escaped(standsInFor));
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
    const auto found = std::find_if(nodes.begin(), nodes.end(),
                                    [&](const ClusterNode& node) { return node.id == id; });
    return found != nodes.end() ? &*found : nullptr;
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
