// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeList.h"

#include <list>
#include <map>
#include <string>

namespace Quarncommon::rules {

/// Adds the service address of every node that is not a standby and has one: node id -> "IP" of
/// its last entry tagged "service". If a value of the wrong type throws, what was found before it
/// stays in the table.
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

/// Returns the smallest node id whose service address is one of the host's addresses, null if none
/// is.
const std::string* sourceNode(const std::map<std::string, std::string>& serviceAddresses,
                              const std::list<std::string>& hostAddresses, Trace* trace = nullptr);

} // namespace Quarncommon::rules
