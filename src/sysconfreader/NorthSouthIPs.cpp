#include "SysConfReader.h"

#include "rules/SlotLists.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"
#include "sysconfreader/SouthboundWalk.h"
#include "sysconfreader/UsageTags.h"

namespace Quarncommon {

std::string SysConfReader::getLocalNorthIP() {
    // Both values of one load: read separately, one of them might be of the next load.
    const Identity loaded = identity();
    std::map<int, rules::SharedAddress> byNumber;
    std::string service;
    std::string service2;
    completes([&] {
        config::Document list;
        if (config::readJsonFile(config::pathOf(config::kNodeList), list)) {
            rules::collectByNumber(
                rules::addressEntries(rules::nodeEntry(list.root(), loaded.floatNodeId)),
                std::string(kNorthboundFamily), byNumber, service, service2);
        }
    });
    return rules::sharedNorthSlotList(byNumber, service, service2, loaded.maintenanceIP);
}

// The answer that the second getLocalNodeIPs gives on an empty map, without its 1024 keys: only the
// slots that have an address are stored, under their numbers.
std::string SysConfReader::getLocalSouthIP() {
    const ReadGuard guard(m_pMutex, turnsOf<SysConfReader>);
    std::map<int, rules::SharedAddress> bySlot;
    const rules::TagWalk seen = walkTags(
        m_floatNodeId, [] {},
        [&](const rules::Node& addresses, rules::TagWalk& walk) {
            const auto slotFor = [](const std::string& tag) {
                return rules::southboundSlot(tag, kSouthboundFamily);
            };
            rules::collectByTag(addresses, slotFor, bySlot, walk);
        });
    return seen.matched ? rules::sharedSouthSlotList(bySlot)
                        : rules::serviceList(seen.service, seen.service2, m_maintenanceIP);
}

} // namespace Quarncommon
