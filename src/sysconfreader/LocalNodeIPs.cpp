// SPDX-License-Identifier: Apache-2.0
#include "SysConfReader.h"

#include "base/Exceptions.h"
#include "rules/NodeIPs.h"
#include "rules/SouthboundKeys.h"
#include "sysconfreader/NodeAddresses.h"
#include "sysconfreader/UsageTags.h"

#include <string>
#include <string_view>

namespace Quarncommon {

namespace {

/// Walks the map once: looking up each of the thousand keys takes longer than reading most lists.
void emptySouthboundKeys(std::map<std::string, std::string>& usageIPs) {
    static constexpr rules::SouthboundKeys kSouthbound(kSouthboundFamily);
    auto place = usageIPs.lower_bound(std::string(kSouthboundFamily));
    for (const std::string_view key : kSouthbound.keys) {
        int order = 1;
        while (place != usageIPs.end() && (order = place->first.compare(key)) < 0) {
            ++place; // a key that the caller added
        }
        if (place != usageIPs.end() && order == 0) {
            place->second.clear();
        } else {
            place = usageIPs.emplace_hint(place, key, "");
        }
        ++place;
    }
}

} // namespace

void SysConfReader::getLocalNodeIPs(const std::string& usagePrefix,
                                    std::map<int, std::string>& indexedIPs, std::string& serviceIP,
                                    std::string& service2IP) {
    runDroppingExceptions([&] {
        collectNodeIPs(identity().floatNodeId, usagePrefix, indexedIPs, serviceIP, service2IP);
    });
}

void SysConfReader::collectNodeIPs(const std::string& nodeId, const std::string& usagePrefix,
                                   std::map<int, std::string>& indexedIPs, std::string& serviceIP,
                                   std::string& service2IP) {
    runDroppingExceptions([&] {
        readNodeAddresses(nodeId, [&](const rules::Node& addresses) {
            rules::collectByNumber(addresses, usagePrefix, indexedIPs, serviceIP, service2IP);
        });
    });
}

void SysConfReader::getLocalNodeIPs(std::map<std::string, std::string>& usageIPs) {
    std::string nodeId;
    const auto prepare = [&] {
        emptySouthboundKeys(usageIPs);
        nodeId = identity().floatNodeId;
    };
    // Every key that the map has after `prepare` belongs to the family, the caller's included.
    const auto slotFor = [&](const std::string& tag) {
        const auto slot = usageIPs.find(tag);
        return slot != usageIPs.end() ? &slot->second : nullptr;
    };
    const rules::TagWalk seen =
        walkTags(nodeId, prepare, [&](const rules::Node& addresses, rules::TagWalk& walk) {
            rules::collectByTag(addresses, slotFor, walk);
        });
    runDroppingExceptions([&] { rules::addServices(seen, usageIPs); });
}

} // namespace Quarncommon
