#include "commands/Commands.h"

#include "deployment/Cluster.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Grid.h"
#include "render/Json.h"
#include "render/Output.h"
#include "render/Text.h"

#include <algorithm>
#include <iterator>

namespace sysconfctl {
namespace {

std::string shown(const std::string& text) {
    return text.empty() ? "-" : escaped(text);
}

/// One line an address: the address, then its tags.
Cell addressLines(const Listed& told) {
    Cell lines;
    for (const Address& address : told.addresses) {
        std::vector<std::string> tags;
        for (const std::string& tag : address.tags) {
            tags.push_back(escaped(tag));
        }
        std::string line = shown(address.ip);
        if (!tags.empty()) {
            line += ' ';
            line += joined(tags, ", ");
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

std::string clusterTable(const Cluster& cluster, bool color) {
    std::vector<std::vector<Cell>> rows;
    for (const ClusterNode& node : cluster.nodes) {
        const Listed& told = node.told();
        rows.push_back({{shown(node.id)},
                        {shown(told.role)},
                        {shown(told.tenancy)},
                        node.marks(),
                        {shown(told.maintenance)},
                        {shown(told.service)},
                        {shown(told.internalService)}});
    }
    return grid({"NODE", "ROLE", "TENANCY", "MARKS", "MAINTENANCE", "SERVICE", "INTERNAL"}, rows,
                outputWidth(), color);
}

std::string wideTable(const Cluster& cluster, bool color) {
    std::vector<std::vector<Cell>> rows;
    for (const ClusterNode& node : cluster.nodes) {
        const Listed& told = node.told();
        rows.push_back({{shown(node.id)},
                        {shown(told.role), shown(told.domainType)},
                        {shown(told.tenancy)},
                        {shown(told.hostTag)},
                        node.marks(),
                        node.lists(),
                        addressLines(told)});
    }
    return grid({"NODE", "ROLE", "TENANCY", "HOST TAG", "MARKS", "LISTS", "ADDRESSES"}, rows,
                outputWidth(), color);
}

/// One node a line: id, role, tenancy, marks, maintenance, service and internal-service address,
/// behind a tab each.
std::string plain(const Cluster& cluster) {
    std::string text;
    for (const ClusterNode& node : cluster.nodes) {
        const Listed& told = node.told();
        text += joined({escaped(node.id), escaped(told.role), escaped(told.tenancy),
                        joined(node.marks(), ","), escaped(told.maintenance), escaped(told.service),
                        escaped(told.internalService)},
                       "\t") +
                '\n';
    }
    return text;
}

Json::Value toJson(const Listed& told) {
    if (!told.present) {
        return {};
    }
    Json::Value value;
    value["role"] = told.role;
    value["domainType"] = told.domainType;
    value["tenancy"] = told.tenancy;
    value["hostTag"] = told.hostTag;
    value["maintenance"] = told.maintenance;
    value["service"] = told.service;
    value["internalService"] = told.internalService;
    value["addresses"] = Json::Value(Json::arrayValue);
    for (const Address& address : told.addresses) {
        Json::Value entry;
        entry["ip"] = address.ip;
        entry["tags"] = Json::Value(Json::arrayValue);
        for (const std::string& tag : address.tags) {
            entry["tags"].append(tag);
        }
        value["addresses"].append(entry);
    }
    return value;
}

std::string json(const Cluster& cluster) {
    Json::Value value;
    value["schemaVersion"] = kSchemaVersion;
    value["process"] = cluster.instanceId;
    value["thisNode"] = cluster.thisNodeId;
    value["floatNode"] = cluster.floatNodeId;
    value["tenancy"] = cluster.tenancy;
    value["errors"] = Json::Value(Json::arrayValue);
    for (const std::string& trouble : cluster.troubles) {
        value["errors"].append(trouble);
    }
    value["nodes"] = Json::Value(Json::arrayValue);
    for (const ClusterNode& node : cluster.nodes) {
        Json::Value row;
        row["id"] = node.id;
        row["this"] = node.isThis;
        row["master"] = node.isMaster;
        row["standby"] = node.isStandby;
        row["standsInFor"] =
            node.standsInFor.empty() ? Json::Value() : Json::Value(node.standsInFor);
        row["nodeList"] = toJson(node.nodeList);
        row["managerNodeList"] = toJson(node.managerNodeList);
        value["nodes"].append(row);
    }
    return indentedJson(value);
}

/// Leaves the named nodes only, if any are.
/// @return The names that none has.
std::vector<std::string> keepNamed(Cluster& cluster, const std::vector<std::string>& ids) {
    std::vector<std::string> unknown;
    if (ids.empty()) {
        return unknown;
    }
    std::copy_if(ids.begin(), ids.end(), std::back_inserter(unknown),
                 [&](const std::string& id) { return cluster.node(id) == nullptr; });
    std::erase_if(cluster.nodes, [&](const ClusterNode& node) {
        return std::find(ids.begin(), ids.end(), node.id) == ids.end();
    });
    return unknown;
}

std::string written(const Cluster& cluster, const Options& options) {
    const bool color = colorWanted(options.color);
    switch (options.format) {
    case Format::Json:
        return json(cluster);
    case Format::Plain:
        return plain(cluster);
    case Format::Wide:
        return wideTable(cluster, color);
    default:
        return clusterTable(cluster, color);
    }
}

} // namespace

ExitStatus runNodes(const Options& options) {
    Cluster cluster = clusterOf(readSources(options.localAddresses));
    const std::vector<std::string> unknown = keepNamed(cluster, options.nodes);
    writeOutput(written(cluster, options));
    for (const std::string& trouble : cluster.troubles) {
        complain(complaint::kDoesNotLoad, "the " + escaped(trouble));
    }
    for (const std::string& id : unknown) {
        complain(complaint::kNoSuchNode, "no node " + shellWord(id) + " in either list");
    }
    return cluster.nodes.empty() || !unknown.empty() ? ExitStatus::NoAnswer : ExitStatus::Answered;
}

} // namespace sysconfctl
