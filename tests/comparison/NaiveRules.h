// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>

/// Uses no code of the library. Do not optimise it: the benchmarks compare the library with it.
namespace naive {

/// The rules modify their copy.
using File = std::optional<Json::Value>;

std::string localIPByUsage(File nodeList, const std::string& nodeId, const std::string& floatNodeId,
                           const std::string& usage);
std::string localServiceIP(File nodeList, const std::string& floatNodeId,
                           const std::string& maintenanceIP);

int ipAddresses(File managerNodeList, const std::string& fieldName, const std::string& valuePrefix,
                std::list<std::string>& addresses);
int allFloatIP(File managerNodeList, const std::set<std::string>& usages,
               std::map<std::string, std::set<std::string>>& floatIPs);

void localNodeIPs(File nodeList, const std::string& floatNodeId, const std::string& usagePrefix,
                  std::map<int, std::string>& indexedIPs, std::string& serviceIP,
                  std::string& service2IP);
void localNodeIPs(File nodeList, const std::string& floatNodeId,
                  std::map<std::string, std::string>& usageIPs);

std::string localNorthIP(File nodeList, const std::string& floatNodeId,
                         const std::string& maintenanceIP);
std::string localSouthIP(File nodeList, const std::string& floatNodeId,
                         const std::string& maintenanceIP);
int pfType(const std::string& southIP);

void sourceNodeId(File nodeList, const std::list<std::string>& hostAddresses,
                  std::string& sourceNodeId);

/// These two throw what jsoncpp throws.
std::string internalServiceAddress(Json::Value addresses);
void masterAndStandby(Json::Value root, const std::string& tenancy, std::string& masterNodeId,
                      std::string& standbyNodeId);

} // namespace naive
