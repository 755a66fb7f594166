#include "rules/Roles.h"

#include "rules/NodeList.h"

namespace Quarncommon::rules {

std::string internalServiceAddress(const Node& addresses, const std::string& internalServiceTag) {
    SharedAddress found;
    forEachTag(addresses, [&](AddressEntry& entry, const std::string& tag) {
        if (tag == internalServiceTag) {
            found = entry.address();
            return Walk::Stop;
        }
        if (tag == kMaintenanceTag) {
            found = entry.address();
        }
        return Walk::OtherTags;
    });
    return found != nullptr ? *found : "";
}

void findMasterAndStandby(const Node& list, const std::string& tenancy, std::string& masterNodeId,
                          std::string& standbyNodeId) {
    for (const auto& [id, node] : list["nodeList"].members()) {
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
