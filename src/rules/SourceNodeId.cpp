#include "rules/SourceNodeId.h"

#include <algorithm>

namespace Quarncommon::rules {

void collectServiceAddress(const std::string& nodeId, const Json::Value& addresses,
                           ServiceAddresses& output) {
    forEachTag(addresses, [&](const Json::Value& entry, const std::string& tag) {
        if (tag != kServiceTag) {
            return Walk::OtherTags;
        }
        output[nodeId] = entry["IP"].asString();
        return Walk::NextEntry;
    });
}

const std::string* sourceNode(const ServiceAddresses& serviceAddresses,
                              const std::list<std::string>& hostAddresses) {
    for (const auto& [id, address] : serviceAddresses) {
        if (std::find(hostAddresses.begin(), hostAddresses.end(), address) != hostAddresses.end()) {
            return &id;
        }
    }
    return nullptr;
}

} // namespace Quarncommon::rules
