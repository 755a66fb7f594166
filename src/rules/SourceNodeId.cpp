#include "rules/SourceNodeId.h"

#include "rules/NodeList.h"

#include <algorithm>

namespace Quarncommon::rules {

void collectServiceAddresses(const Node& list,
                             std::map<std::string, std::string>& serviceAddresses) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        if (hostType(node) == "standby") {
            continue;
        }
        const std::string& nodeId = id;
        forEachTag(addressEntries(node), [&](const Node& entry, const std::string& tag) {
            if (tag != kServiceTag) {
                return Walk::OtherTags;
            }
            serviceAddresses[nodeId] = entry["IP"].asString();
            return Walk::NextEntry;
        });
    }
}

const std::string* sourceNode(const std::map<std::string, std::string>& serviceAddresses,
                              const std::list<std::string>& hostAddresses) {
    for (const auto& [id, address] : serviceAddresses) {
        if (std::find(hostAddresses.begin(), hostAddresses.end(), address) != hostAddresses.end()) {
            return &id;
        }
    }
    return nullptr;
}

} // namespace Quarncommon::rules
