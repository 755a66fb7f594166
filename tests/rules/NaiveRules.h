#pragma once

#include <json/value.h>

#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>

/// Every query once more, told naively: each step as one would say it, on copies that jsoncpp's
/// mutating look-ups may alter, with the thousand keys and the slot-by-slot texts spelled out.
/// Shares no line with the library.
namespace naive {

/// A file's tree; nothing when the file does not parse.
using File = std::optional<Json::Value>;

std::string localIPByUsage(const File& nodeList, const std::string& nodeId,
                           const std::string& floatNodeId, const std::string& usage);
std::string localServiceIP(const File& nodeList, const std::string& floatNodeId,
                           const std::string& maintenanceIP);

int ipAddresses(const File& managerNodeList, const std::string& fieldName,
                const std::string& valuePrefix, std::list<std::string>& addresses);
int allFloatIP(const File& managerNodeList, const std::set<std::string>& usages,
               std::map<std::string, std::set<std::string>>& floatIPs);

void localNodeIPs(const File& nodeList, const std::string& floatNodeId,
                  const std::string& usagePrefix, std::map<int, std::string>& indexedIPs,
                  std::string& serviceIP, std::string& service2IP);
void localNodeIPs(const File& nodeList, const std::string& floatNodeId,
                  std::map<std::string, std::string>& usageIPs);

std::string localNorthIP(const File& nodeList, const std::string& floatNodeId,
                         const std::string& maintenanceIP);
std::string localSouthIP(const File& nodeList, const std::string& floatNodeId,
                         const std::string& maintenanceIP);
int pfType(const std::string& southIP);

void sourceNodeId(const File& nodeList, const std::list<std::string>& hostAddresses,
                  std::string& sourceNodeId);

/// These two throw what jsoncpp throws.
std::string internalServiceAddress(Json::Value addresses);
void masterAndStandby(Json::Value root, const std::string& tenancy, std::string& masterNodeId,
                      std::string& standbyNodeId);

} // namespace naive
