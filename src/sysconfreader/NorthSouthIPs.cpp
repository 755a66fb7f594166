#include "SysConfReader.h"

#include "rules/SlotLists.h"
#include "sysconfreader/Guards.h"
#include "sysconfreader/SouthboundWalk.h"
#include "sysconfreader/UsageTags.h"

namespace Quarncommon {

std::string SysConfReader::getLocalNorthIP() {
    // Both values are copied at once: looked up one by one, they might come from two loads.
    const Identity loaded = identity();
    std::map<int, std::string> indexedIPs;
    std::string serviceIP;
    std::string service2IP;
    collectNodeIPs(loaded.floatNodeId, std::string(kNorthboundFamily), indexedIPs, serviceIP,
                   service2IP);
    return rules::northSlotList(std::move(indexedIPs), serviceIP, service2IP, loaded.maintenanceIP);
}

// Gives the answer of the second getLocalNodeIPs on an empty map, but without building its thousand
// keys: only the slots that have an address are kept, by number.
std::string SysConfReader::getLocalSouthIP() {
    const ReadGuard guard(m_pMutex, turnsOf<SysConfReader>);
    std::map<int, std::string> bySlot;
    const auto slotFor = [&](const std::string& tag) {
        const int slot = rules::southboundSlot(tag, kSouthboundFamily);
        return slot != 0 ? &bySlot[slot] : nullptr;
    };
    const rules::TagWalk seen = walkTags(
        m_floatNodeId, [] {}, slotFor);
    return seen.matched ? rules::southSlotList(bySlot)
                        : rules::serviceList(seen.service, seen.service2, m_maintenanceIP);
}

} // namespace Quarncommon
