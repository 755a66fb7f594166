#pragma once

#include "rules/NodeList.h"

#include <json/value.h>

#include <list>
#include <map>
#include <string>

namespace Quarncommon::rules {

/// Node id -> service address.
using ServiceAddresses = std::map<std::string, std::string>;

/// Sets the node's service address to the "IP" of its last entry tagged "service", if it has one.
void collectServiceAddress(const std::string& nodeId, const Json::Value& addresses,
                           ServiceAddresses& output);

/// Collects the service addresses of every node that is not a standby. When a value of the wrong
/// type throws, what was found before it stays in the table.
template <typename Node>
void collectServiceAddresses(const Node& list, ServiceAddresses& output) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        if (hostType(node) != "standby") {
            collectServiceAddress(id, addressEntries(node), output);
        }
    }
}

/// The smallest node id whose service address is one of the host's addresses, null when none is.
const std::string* sourceNode(const ServiceAddresses& serviceAddresses,
                              const std::list<std::string>& hostAddresses);

} // namespace Quarncommon::rules
