// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeList.h"

#include <string>

namespace Quarncommon::rules {

/// A standby node keeps its own maintenance address while it answers for another node.
inline const std::string& nodeForTag(const std::string& tag, const std::string& ownNodeId,
                                     const std::string& floatNodeId) {
    return tag == kMaintenanceTag ? ownNodeId : floatNodeId;
}

/// Returns the "IP" of the first entry that has `tag` (lower case), "" if there is none.
template <typename AnyNode>
std::string addressByTag(const AnyNode& addresses, const std::string& tag) {
    std::string address;
    forEachTag(addresses, [&](AddressEntry<AnyNode>& entry, const std::string& candidate) {
        if (candidate != tag) {
            return Walk::OtherTags;
        }
        address = *entry.address();
        entry.reportTaken(tag);
        return Walk::Stop;
    });
    return address;
}

} // namespace Quarncommon::rules
