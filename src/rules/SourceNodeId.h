// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeList.h"

#include <list>
#include <map>
#include <string>

namespace Quarncommon::rules {

/// The last entry tagged "service" of a node wins. What was found before an exception stays.
template <typename AnyNode>
void collectServiceAddresses(const AnyNode& list,
                             std::map<std::string, std::string>& serviceAddresses) {
    for (const auto& member : list["nodeList"].members()) {
        const auto& [id, node] = member;
        if (hostType(node) == "standby") {
            reportSkipped(node, Skipped::Why::Standby);
            continue;
        }
        const std::string& nodeId = id;
        std::string* last = nullptr;
        forEachTag(addressEntries(node), [&](AddressEntry<AnyNode>& entry, const std::string& tag) {
            if (tag != kServiceTag) {
                return Walk::OtherTags;
            }
            const SharedAddress& address = entry.address();
            last = last != nullptr ? last : &serviceAddresses[nodeId];
            *last = *address;
            entry.reportTaken(nodeId);
            return Walk::NextEntry;
        });
    }
}

/// The smallest node id whose service address is one of the host's; null if there is none.
const std::string* sourceNode(const std::map<std::string, std::string>& serviceAddresses,
                              const std::list<std::string>& hostAddresses, Trace* trace = nullptr);

} // namespace Quarncommon::rules
