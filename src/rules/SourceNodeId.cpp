#include "rules/SourceNodeId.h"

#include "rules/NodeList.h"

#include <set>
#include <string_view>

namespace Quarncommon::rules {

void collectServiceAddresses(const Node& list,
                             std::map<std::string, std::string>& serviceAddresses) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        if (hostType(node) == "standby") {
            continue;
        }
        const std::string& nodeId = id;
        std::string* last = nullptr;
        forEachTag(addressEntries(node), [&](AddressEntry& entry, const std::string& tag) {
            if (tag != kServiceTag) {
                return Walk::OtherTags;
            }
            const SharedAddress& address = entry.address();
            last = last != nullptr ? last : &serviceAddresses[nodeId];
            *last = *address;
            return Walk::NextEntry;
        });
    }
}

const std::string* sourceNode(const std::map<std::string, std::string>& serviceAddresses,
                              const std::list<std::string>& hostAddresses) {
    const std::set<std::string_view> host(hostAddresses.begin(), hostAddresses.end());
    for (const auto& [id, address] : serviceAddresses) {
        if (host.contains(address)) {
            return &id;
        }
    }
    return nullptr;
}

} // namespace Quarncommon::rules
