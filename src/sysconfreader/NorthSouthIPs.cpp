// SPDX-License-Identifier: Apache-2.0
#include "SysConfReader.h"

#include "base/Exceptions.h"
#include "locks/ClassLock.h"
#include "rules/SlotLists.h"
#include "sysconfreader/NodeAddresses.h"
#include "sysconfreader/UsageTags.h"

namespace Quarncommon {

std::string SysConfReader::getLocalNorthIP() {
    // Both values at once, so that they are of the same load.
    const Identity loaded = identity();
    rules::SlotMap byNumber;
    std::string service;
    std::string service2;
    runDroppingExceptions([&] {
        readNodeAddresses(loaded.floatNodeId, [&](const rules::Node& addresses) {
            rules::collectByNumber(addresses, std::string(kNorthboundFamily), byNumber, service,
                                   service2);
        });
    });
    return rules::northSlotList(byNumber, service, service2, loaded.maintenanceIP);
}

// Equals the second getLocalNodeIPs on an empty map, but stores only slots with an address.
std::string SysConfReader::getLocalSouthIP() {
    const ReadGuard<SysConfReader> guard;
    rules::SlotMap bySlot;
    const rules::TagWalk seen = walkTags(
        m_floatNodeId, [] {},
        [&](const rules::Node& addresses, rules::TagWalk& walk) {
            rules::collectSouthbound(addresses, kSouthboundFamily, bySlot, walk);
        });
    return rules::southSlotList(bySlot, seen, m_maintenanceIP);
}

} // namespace Quarncommon
