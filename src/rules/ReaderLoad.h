// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/LocatedNode.h"
#include "rules/NodeList.h"

#include <map>
#include <string>

/// The steps of a load of SysConfReader. Their order is part of the behaviour: a value of the wrong
/// type throws, and all later values are those of the previous load.
namespace Quarncommon::rules {

/// Before a load they are the values of the previous one.
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

template <typename AnyNode>
AnyNode processEntry(const AnyNode& appConfig, const std::string& instanceId) {
    return appConfig["processes"][instanceId];
}

template <typename AnyNode>
void storeDatabase(const AnyNode& database, Json::Value& stored) {
    stored = database.value();
}

/// The run that this one repeats has stored it: a wrong type in "databases" throws before the first
/// is stored, any other after the last. Its tree is large and takes time.
inline void storeDatabase(const LocatedNode& /*database*/, Json::Value& /*stored*/) {}

template <typename AnyNode>
void loadAppConfig(const AnyNode& appConfig, const std::string& instanceId,
                   const ReaderValues& values) {
    for (const auto& [name, database] : appConfig["databases"].members()) {
        storeDatabase(database, values.databases[name]);
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

/// `replaceBySource(std::string& nodeId)` replaces the id by that of a source node.
template <typename AnyNode, typename ReplaceBySource>
void loadNodeList(const AnyNode& nodeList, ReplaceBySource replaceBySource,
                  const ReaderValues& values) {
    values.hostType = hostType(nodeEntry(nodeList, values.nodeId));
    if (values.hostType == "standby") {
        replaceBySource(values.floatNodeId);
    }
    // The role is that of the own node, the tag that of the float node.
    values.hostTagName = nodeEntry(nodeList, values.floatNodeId)["extAttr"]["HOSTID"].asString();
}

} // namespace Quarncommon::rules
