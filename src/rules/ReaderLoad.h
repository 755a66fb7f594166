// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeList.h"

#include <map>
#include <string>

/// The steps of a load of SysConfReader. The order of the assignments is binding: a value of the
/// wrong type throws and ends the load, with every value before it new and every value after it
/// that of the load before.
namespace Quarncommon::rules {

/// Where the values of a load are kept; they hold those of the load before.
struct ReaderValues {
    std::map<std::string, Json::Value>& databases;
    std::string& maintenanceIP;
    std::string& localhostIP;
    std::string& wssIP;
    int& wssPort;
    int& localPort;
    int& corbaPort;
    int& corbaSSLPort;
    std::string& nodeId;
    std::string& hostType;
    std::string& floatNodeId;
    std::string& hostTagName;
};

/// The entry of a process in the app config file.
template <typename AnyNode>
AnyNode processEntry(const AnyNode& appConfig, const std::string& instanceId) {
    return appConfig["processes"][instanceId];
}

/// What the app config file says.
template <typename AnyNode>
void loadAppConfig(const AnyNode& appConfig, const std::string& instanceId,
                   const ReaderValues& values) {
    for (const auto& [name, database] : appConfig["databases"].members()) {
        values.databases[name] = database.value();
    }
    const AnyNode process = processEntry(appConfig, instanceId);
    values.maintenanceIP = process["IR"]["ip"].asString();
    values.localhostIP = process["local"]["ip"].asString();
    values.wssIP = process["wss"]["ip"].asString();
    values.wssPort = process["wss"]["port"].asInt();
    values.localPort = process["local"]["port"].asInt();
    values.corbaPort = process["CORBA"]["port"].asInt();
    values.corbaSSLPort = process["CORBA_SSL"]["port"].asInt();
    values.nodeId = process["nodeId"].asString();
    values.floatNodeId = values.nodeId;
}

/// What the node list says. `replaceBySource(std::string& nodeId)` replaces the id by that of
/// the source node, if there is one.
template <typename AnyNode, typename ReplaceBySource>
void loadNodeList(const AnyNode& nodeList, ReplaceBySource replaceBySource,
                  const ReaderValues& values) {
    values.hostType = hostType(nodeEntry(nodeList, values.nodeId));
    if (values.hostType == "standby") {
        replaceBySource(values.floatNodeId);
    }
    // The role is the own node's, the tag that of the node whose addresses are answered.
    values.hostTagName = nodeEntry(nodeList, values.floatNodeId)["extAttr"]["HOSTID"].asString();
}

} // namespace Quarncommon::rules
