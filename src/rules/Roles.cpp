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

Role roleOf(const std::string& hostType, const std::string& domainNodeType) {
    if (hostType == "master" && domainNodeType == "ACCESS_Master") {
        return Role::Master;
    }
    if (hostType == "standby" && domainNodeType == "ACCESS_Backup") {
        return Role::Standby;
    }
    return Role::None;
}

} // namespace Quarncommon::rules
