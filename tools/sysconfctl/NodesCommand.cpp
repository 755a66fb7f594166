#include "Commands.h"

#include "Grid.h"
#include "Json.h"
#include "Output.h"
#include "Text.h"
#include "deployment/Cluster.h"

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

std::string table(const Cluster& cluster) {
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
                outputWidth());
}

std::string wideTable(const Cluster& cluster) {
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
                outputWidth());
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

std::string written(const Cluster& cluster, Format format) {
    switch (format) {
    case Format::Json:
        return json(cluster);
    case Format::Plain:
        return plain(cluster);
    case Format::Wide:
        return wideTable(cluster);
    default:
        return table(cluster);
    }
}

} // namespace

ExitStatus runNodes(const Options& options) {
    const Cluster cluster = clusterOf(readSources(options.localAddresses));
    writeOutput(written(cluster, options.format));
    for (const std::string& trouble : cluster.troubles) {
        complain("the " + escaped(trouble));
    }
    return cluster.nodes.empty() ? ExitStatus::NoAnswer : ExitStatus::Answered;
}

} // namespace sysconfctl
