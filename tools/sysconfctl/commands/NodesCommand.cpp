// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"

#include "deployment/Cluster.h"
#include "deployment/KeepUntilExit.h"
#include "render/Color.h"
#include "render/Diagnostics.h"
#include "render/Grid.h"
#include "render/Json.h"
#include "render/Output.h"
#include "render/Text.h"

#include <algorithm>
#include <iterator>
#include <set>

namespace sysconfctl {
namespace {

std::string shown(const std::string& text) {
    return text.empty() ? "-" : escaped(text);
}

Cell addressLines(const Listed& listed) {
    Cell lines;
    for (const Address& address : listed.addresses) {
        std::string line = shown(address.ip);
        if (!address.tags.empty()) {
            line += ' ' + escaped(joined(address.tags, ", "));
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

Cell markLines(const ClusterNode& node) {
    Cell lines;
    for (const std::string& mark : node.marks()) {
        lines.push_back(escaped(mark));
    }
    return lines;
}

std::string clusterTable(const Cluster& cluster, bool color) {
    std::vector<std::vector<Cell>> rows;
    for (const ClusterNode& node : cluster.nodes) {
        const Listed& listed = node.listing();
        rows.push_back({{shown(node.id)},
                        {shown(listed.role)},
                        {shown(listed.tenancy)},
                        markLines(node),
                        {shown(listed.maintenance)},
                        {shown(listed.service)},
                        {shown(listed.internalService)}});
    }
    return grid({{"NODE"},
                 {"ROLE", 1},
                 {"TENANCY", 4},
                 {"MARKS", 2, true},
                 {"MAINTENANCE", 5},
                 {"SERVICE", 3},
                 {"INTERNAL", 6}},
                std::move(rows), outputWidth(), color);
}

std::string wideTable(const Cluster& cluster, bool color) {
    std::vector<std::vector<Cell>> rows;
    for (const ClusterNode& node : cluster.nodes) {
        const Listed& listed = node.listing();
        rows.push_back({{shown(node.id)},
                        {shown(listed.role), shown(listed.domainType)},
                        {shown(listed.tenancy)},
                        {shown(listed.hostTag)},
                        markLines(node),
                        node.lists(),
                        addressLines(listed)});
    }
    return grid({{"NODE"},
                 {"ROLE", 1},
                 {"TENANCY", 3},
                 {"HOST TAG", 4},
                 {"MARKS", 2, true},
                 {"LISTS", 5},
                 {"ADDRESSES", 0, true}},
                std::move(rows), outputWidth(), color);
}

/// Tab-separated: id, role, tenancy, marks, maintenance, service and internal-service address.
std::string plain(const Cluster& cluster) {
    std::string text;
    for (const ClusterNode& node : cluster.nodes) {
        const Listed& listed = node.listing();
        text += joined({escaped(node.id), escaped(listed.role), escaped(listed.tenancy),
                        escaped(joined(node.marks(), ",")), escaped(listed.maintenance),
                        escaped(listed.service), escaped(listed.internalService)},
                       "\t") +
                '\n';
    }
    return text;
}

void addListed(Json::Value& value, const Listed& listed) {
    value["role"] = listed.role;
    value["domainType"] = listed.domainType;
    value["tenancy"] = listed.tenancy;
    value["hostTag"] = listed.hostTag;
    value["maintenance"] = listed.maintenance;
    value["service"] = listed.service;
    value["internalService"] = listed.internalService;
    value["addresses"] = Json::Value(Json::arrayValue);
    for (const Address& address : listed.addresses) {
        Json::Value entry;
        entry["ip"] = address.ip;
        entry["tags"] = Json::Value(Json::arrayValue);
        for (const std::string& tag : address.tags) {
            entry["tags"].append(tag);
        }
        value["addresses"].append(entry);
    }
}

Json::Value toJson(const Listed& listed) {
    Json::Value value;
    if (listed.present) {
        addListed(value, listed);
    }
    return value;
}

Json::Value array(const std::vector<std::string>& texts) {
    Json::Value value(Json::arrayValue);
    for (const std::string& text : texts) {
        value.append(text);
    }
    return value;
}

std::string names(const Cluster& cluster) {
    std::string text;
    for (const ClusterNode& node : cluster.nodes) {
        text += escaped(node.id) + '\n';
    }
    return text;
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
        row["marks"] = array(node.marks());
        row["lists"] = array(node.lists());
        addListed(row, node.listing()); // what the tables show
        row["nodeList"] = toJson(node.nodeList);
        row["managerNodeList"] = toJson(node.managerNodeList);
        value["nodes"].append(row);
    }
    return indentedJson(value);
}

/// Keeps all if there are no ids. Returns the ids that no node has.
std::vector<std::string> keepNamed(Cluster& cluster, const std::vector<std::string>& ids) {
    std::vector<std::string> unknown;
    if (ids.empty()) {
        return unknown;
    }
    std::copy_if(ids.begin(), ids.end(), std::back_inserter(unknown),
                 [&](const std::string& id) { return cluster.node(id) == nullptr; });
    const std::set<std::string> wanted(ids.begin(), ids.end());
    std::erase_if(cluster.nodes,
                  [&](const ClusterNode& node) { return !wanted.contains(node.id); });
    return unknown;
}

std::string written(const Cluster& cluster, const Options& options) {
    const bool color = colorWanted(options.color);
    switch (options.format) {
    case Format::Json:
        return json(cluster);
    case Format::Plain:
        return plain(cluster);
    case Format::Name:
        return names(cluster);
    case Format::Wide:
        return wideTable(cluster, color);
    default:
        return clusterTable(cluster, color);
    }
}

} // namespace

ExitStatus runNodes(const Options& options) {
    Cluster& cluster = keepUntilExit(
        clusterOf(keepUntilExit(readSources(options.localAddresses, Form::Document))));
    const std::vector<std::string> unmatched = unknownValues(cluster, options.filter);
    const std::vector<std::string> unused = unknownMissingTags(cluster, options.filter);
    const std::vector<std::string> unknown = keepNamed(cluster, options.nodes);
    keepAccepted(cluster, options.filter);
    sortNodes(cluster, options.sort);
    writeOutput(written(cluster, options));
    reportUnloadedFiles(cluster.troubles);
    for (const std::string& id : unknown) {
        reportError(diagnostic::kNoSuchNode, "no node " + shellWord(id) + " in either list");
    }
    reportUnmatched(unmatched, unused);
    return cluster.nodes.empty() || !unknown.empty() || !unmatched.empty() ? ExitStatus::NoAnswer
                                                                           : ExitStatus::Answered;
}

} // namespace sysconfctl
