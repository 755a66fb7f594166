// SPDX-License-Identifier: Apache-2.0
#include "map/Picture.h"

#include "render/Text.h"

#include <fmt/format.h>

#include <map>

namespace sysconfctl {
namespace {

std::vector<std::string> linesOf(const ClusterNode& node) {
    const Listed& listed = node.listing();
    std::vector<std::string> lines = {node.id.empty() ? "(empty id)" : node.id};
    std::vector<std::string> about;
    if (!listed.role.empty()) {
        about.push_back(listed.role);
    }
    if (!listed.domainType.empty()) {
        about.push_back(listed.domainType);
    }
    if (!about.empty()) {
        lines.push_back(joined(about, ", "));
    }
    for (const Address& address : listed.addresses) {
        lines.push_back(fmt::format("{}: {}",
                                    address.tags.empty() ? "no tag" : joined(address.tags, ", "),
                                    address.ip.empty() ? "no address" : address.ip));
    }
    return lines;
}

void addPairs(Picture& picture, const Cluster& cluster,
              const std::map<std::string, std::string>& names) {
    std::map<std::string, std::string> masters;
    for (const ClusterNode& node : cluster.nodes) {
        if (node.isMaster) {
            masters[node.managerNodeList.tenancy] = names.at(node.id);
        }
    }
    for (const ClusterNode& standby : cluster.nodes) {
        const auto master = masters.find(standby.managerNodeList.tenancy);
        if (standby.isStandby && master != masters.end()) {
            picture.arrows.push_back({names.at(standby.id), master->second, "standby of", false});
        }
    }
}

} // namespace

Picture pictureOf(const Cluster& cluster) {
    Picture picture;
    std::map<std::string, std::string> names;
    std::map<std::string, Group> groups;
    for (const ClusterNode& node : cluster.nodes) {
        const std::string& tenancy = node.listing().tenancy;
        const std::string name = fmt::format("n{}", names.size() + 1);
        names[node.id] = name;
        groups[tenancy].boxes.push_back({name, linesOf(node), node.isThis, node.id});
    }
    for (auto& [tenancy, group] : groups) {
        group.name = fmt::format("t{}", picture.tenancies.size() + 1);
        group.tenancy = tenancy;
        group.title = tenancy.empty() ? "no tenancy" : "tenancy " + tenancy;
        picture.tenancies.push_back(std::move(group));
    }
    picture.process = {
        "process",
        {"this process", cluster.instanceId.empty() ? "(no instance id)" : cluster.instanceId},
        true,
        cluster.instanceId};
    if (names.contains(cluster.thisNodeId)) {
        const std::string& self = names.at(cluster.thisNodeId);
        picture.arrows.push_back({"process", self, "runs on", false});
        if (cluster.floatNodeId != cluster.thisNodeId && names.contains(cluster.floatNodeId)) {
            picture.arrows.push_back({self, names.at(cluster.floatNodeId), "stands in for", true});
        }
    }
    addPairs(picture, cluster, names);
    return picture;
}

} // namespace sysconfctl
