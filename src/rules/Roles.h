// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeList.h"

#include <string>

namespace Quarncommon::rules {

inline constexpr std::string_view kMaster = "master";
inline constexpr std::string_view kStandby = "standby";
inline constexpr std::string_view kMasterDomainType = "ACCESS_Master";
inline constexpr std::string_view kStandbyDomainType = "ACCESS_Backup";

/// "internal_service" before "maintenance"; the first of those, the last of these.
template <typename AnyNode>
std::string internalServiceAddress(const AnyNode& addresses) {
    SharedAddress address;
    bool found = false;
    forEachTag(addresses, [&](AddressEntry<AnyNode>& entry, const std::string& tag) {
        found = tag == kInternalServiceTag;
        if (found || tag == kMaintenanceTag) {
            address = entry.address();
            entry.reportTaken(tag);
        }
        return found ? Walk::Stop : Walk::OtherTags;
    });
    report(addresses, [&](const Path& /*path*/) -> TraceEvent {
        return found ? TraceEvent(SlotNotNeeded{std::string(kMaintenanceTag)})
                     : TraceEvent(FallbackUsed{FallbackUsed::To::Maintenance,
                                               address != nullptr ? *address : ""});
    });
    return address != nullptr ? *address : "";
}

/// Returns kMaster or kStandby for a node that can have the role, "" for any other.
template <typename AnyNode>
std::string_view roleOf(const AnyNode& node) {
    const std::string role = hostType(node);
    const std::string domainType = node["extAttr"]["domain_node_type"].asString();
    const bool master = role == kMaster && domainType == kMasterDomainType;
    const bool standby = role == kStandby && domainType == kStandbyDomainType;
    const std::string_view found = master ? kMaster : standby ? kStandby : std::string_view();
    report(node, [&](const Path& path) {
        return RoleCompared{path, role, domainType, std::string(found)};
    });
    return found;
}

/// An id without a candidate is not changed. The greatest id by bytes wins a role.
template <typename AnyNode>
void findMasterAndStandby(const AnyNode& list, const std::string& tenancy,
                          std::string& masterNodeId, std::string& standbyNodeId) {
    for (const auto& [id, node] : list["nodeList"].members()) {
        if (rules::tenancy(node) != tenancy) {
            reportSkipped(node, Skipped::Why::OtherTenancy);
            continue;
        }
        const std::string_view role = roleOf(node);
        if (role.empty()) {
            reportSkipped(node, Skipped::Why::OtherRole);
            continue;
        }
        (role == kMaster ? masterNodeId : standbyNodeId) = id;
        report(node, [&](const Path& path) {
            return SlotFilled{std::string(role), path, path.back()};
        });
    }
}

} // namespace Quarncommon::rules
