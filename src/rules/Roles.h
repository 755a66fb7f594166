#pragma once

#include "rules/NodeList.h"

#include <json/value.h>

#include <string>

namespace Quarncommon::rules {

/// The address for traffic between the cluster's nodes: the "IP" of the first entry tagged
/// `internalServiceTag`, else of the last one tagged "maintenance", else "".
std::string internalServiceAddress(const Json::Value& addresses,
                                   const std::string& internalServiceTag);

/// The parts that a node can have in its tenancy.
enum class Role { None, Master, Standby };

/// Letter case counts, in both texts; a master that is no access master has no part.
Role roleOf(const std::string& hostType, const std::string& domainNodeType);

/// Sets the ids of the master and the standby node among the list's nodes that are assigned to
/// `ownTenancy`; an id without candidate is left alone. The greatest id by bytes wins a role.
template <typename Node>
void findMasterAndStandby(const Node& list, const std::string& ownTenancy,
                          std::string& masterNodeId, std::string& standbyNodeId) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        if (tenancy(node) != ownTenancy) {
            continue;
        }
        const std::string role = hostType(node);
        switch (roleOf(role, node["extAttr"]["domain_node_type"].value().asString())) {
        case Role::Master:
            masterNodeId = id;
            break;
        case Role::Standby:
            standbyNodeId = id;
            break;
        case Role::None:
            break;
        }
    }
}

} // namespace Quarncommon::rules
