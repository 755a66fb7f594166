#include "map/Picture.h"

#include "render/Text.h"

#include <fmt/format.h>

#include <map>

namespace sysconfctl {
namespace {

std::vector<std::string> linesOf(const ClusterNode& node) {
    const Listed& told = node.told();
    std::vector<std::string> lines = {node.id.empty() ? "(empty id)" : escaped(node.id)};
    std::vector<std::string> about;
    if (!told.role.empty()) {
        about.push_back(escaped(told.role));
    }
    if (!told.domainType.empty()) {
        about.push_back(escaped(told.domainType));
    }
    if (!about.empty()) {
        lines.push_back(joined(about, ", "));
    }
    for (const Address& address : told.addresses) {
        std::vector<std::string> tags;
        for (const std::string& tag : address.tags) {
            tags.push_back(escaped(tag));
        }
        lines.push_back(fmt::format("{}: {}", tags.empty() ? "no tag" : joined(tags, ", "),
                                    address.ip.empty() ? "no address" : escaped(address.ip)));
    }
    return lines;
}

/// An arrow from the standby of a group to its master, where it has both.
void addPairs(Picture& picture, const Cluster& cluster,
              const std::map<std::string, std::string>& names) {
    for (const ClusterNode& standby : cluster.nodes) {
        for (const ClusterNode& master : cluster.nodes) {
            if (standby.isStandby && master.isMaster &&
                standby.managerNodeList.tenancy == master.managerNodeList.tenancy) {
                picture.arrows.push_back(
                    {names.at(standby.id), names.at(master.id), "standby of", false});
            }
        }
    }
}

} // namespace

Picture pictureOf(const Cluster& cluster) {
    Picture picture;
    std::map<std::string, std::string> names;
    std::map<std::string, Group> groups;
    for (const ClusterNode& node : cluster.nodes) {
        const std::string& tenancy = node.told().tenancy;
        const std::string name = fmt::format("n{}", names.size() + 1);
        names[node.id] = name;
        groups[tenancy].boxes.push_back({name, linesOf(node), node.isThis, node.id});
    }
    for (auto& [tenancy, group] : groups) {
        group.name = fmt::format("t{}", picture.tenancies.size() + 1);
        group.tenancy = tenancy;
        group.title = tenancy.empty() ? "no tenancy" : "tenancy " + escaped(tenancy);
        picture.tenancies.push_back(std::move(group));
    }
    picture.process = {"process",
                       {"this process", cluster.instanceId.empty() ? "(no instance id)"
                                                                   : escaped(cluster.instanceId)},
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
