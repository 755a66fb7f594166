// SPDX-License-Identifier: Apache-2.0
#include "SysConfReader.h"

#include "base/Exceptions.h"
#include "locks/ClassLock.h"
#include "rules/SlotLists.h"
#include "sysconfreader/NodeAddresses.h"
#include "sysconfreader/UsageTags.h"

namespace Quarncommon {

std::string SysConfReader::getLocalNorthIP() {
    // Both values of one load: read separately, one of them might be of the next load.
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

// The answer that the second getLocalNodeIPs gives on an empty map, without its 1024 keys: only the
// slots that have an address are stored, under their numbers.
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
