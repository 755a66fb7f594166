#include "rules/Roles.h"

#include "rules/NodeList.h"

namespace Quarncommon::rules {

std::string internalServiceAddress(const Json::Value& addresses,
                                   const std::string& internalServiceTag) {
    std::string internal;
    std::string fallback;
    bool found = false;
    forEachTag(addresses, [&](const Json::Value& entry, const std::string& tag) {
        if (tag == internalServiceTag) {
            internal = entry["IP"].asString();
            found = true;
            return Walk::Stop;
        }
        if (tag == kMaintenanceTag) {
            fallback = entry["IP"].asString();
        }
        return Walk::OtherTags;
    });
    return found ? internal : fallback;
}

void findMasterAndStandby(const Json::Value& list, const std::string& tenancy,
                          std::string& masterNodeId, std::string& standbyNodeId) {
    const Json::Value& nodes = list["nodeList"];
    for (const std::string& id : nodes.getMemberNames()) {
        const Json::Value& node = nodes[id];
        if (rules::tenancy(node) != tenancy) {
            continue;
        }
        const std::string role = hostType(node);
        const std::string domainType = node["extAttr"]["domain_node_type"].asString();
        if (role == "master" && domainType == "ACCESS_Master") {
            masterNodeId = id;
        } else if (role == "standby" && domainType == "ACCESS_Backup") {
            standbyNodeId = id;
        }
    }
}

} // namespace Quarncommon::rules
