#include "SysConfReader.h"

#include "rules/SlotLists.h"
#include "sysconfreader/Guards.h"
#include "sysconfreader/SouthboundWalk.h"
#include "sysconfreader/UsageTags.h"

namespace Quarncommon {

std::string SysConfReader::getLocalNorthIP() {
    // Both values of one load: one of them looked up later might be of the next.
    const Identity loaded = identity();
    std::map<int, std::string> indexedIPs;
    std::string serviceIP;
    std::string service2IP;
    collectNodeIPs(loaded.floatNodeId, kNorthboundUsage, indexedIPs, serviceIP, service2IP);
    return rules::northSlotList(std::move(indexedIPs), serviceIP, service2IP, loaded.maintenanceIP);
}

// The answer that the second getLocalNodeIPs gives on an empty map, told without its thousand keys:
// only the slots that have an address are kept, under their numbers.
std::string SysConfReader::getLocalSouthIP() {
    const ReadGuard guard(m_pMutex, turnsOf<SysConfReader>);
    std::map<int, std::string> bySlot;
    const auto slotFor = [&](const std::string& tag) {
        const int slot = rules::southboundSlot(tag, kSouthboundUsage);
        return slot != 0 ? &bySlot[slot] : nullptr;
    };
    const rules::TagWalk seen = walkTags(
        m_floatNodeId, [] {}, slotFor);
    return seen.matched ? rules::southSlotList(bySlot)
                        : rules::serviceList(seen.service, seen.service2, m_maintenanceIP);
}

} // namespace Quarncommon
