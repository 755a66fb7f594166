// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/ReaderLoad.h"
#include "rules/Roles.h"

#include <string>

/// The steps of a load of SysConfReaderImpl, in their order. Each gets the values of the previous
/// load and changes them. A value of the wrong type throws and ends the step.
namespace Quarncommon::rules {

template <typename AnyNode>
void loadLocalNodeId(const AnyNode& appConfig, const std::string& instanceId,
                     std::string& localNodeId) {
    localNodeId = processEntry(appConfig, instanceId)["nodeId"].asString();
}

template <typename AnyNode>
void loadLocalIp(const AnyNode& nodeList, const std::string& localNodeId,
                 std::string& localInternalServiceIP) {
    localInternalServiceIP =
        internalServiceAddress(addressEntries(nodeEntry(nodeList, localNodeId)));
}

template <typename AnyNode>
void loadTenancy(const AnyNode& nodeList, const std::string& localNodeId,
                 std::string& productName) {
    productName = tenancy(nodeEntry(nodeList, localNodeId));
}

/// An id without a candidate is kept.
template <typename AnyNode>
void loadRoleNodeIds(const AnyNode& managerNodeList, const std::string& productName,
                     std::string& masterNodeId, std::string& standbyNodeId) {
    findMasterAndStandby(managerNodeList, productName, masterNodeId, standbyNodeId);
}

template <typename AnyNode>
void loadRoleIps(const AnyNode& managerNodeList, const std::string& masterNodeId,
                 const std::string& standbyNodeId, std::string& masterInternalServiceIP,
                 std::string& standbyInternalServiceIP) {
    masterInternalServiceIP =
        internalServiceAddress(addressEntries(nodeEntry(managerNodeList, masterNodeId)));
    standbyInternalServiceIP =
        internalServiceAddress(addressEntries(nodeEntry(managerNodeList, standbyNodeId)));
}

} // namespace Quarncommon::rules
