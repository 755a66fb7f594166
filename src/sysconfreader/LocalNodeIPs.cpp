#include "SysConfReader.h"

#include "rules/NodeIPs.h"
#include "sysconfreader/ConfigFiles.h"
#include "sysconfreader/Guards.h"
#include "sysconfreader/SouthboundWalk.h"
#include "sysconfreader/UsageTags.h"

namespace Quarncommon {

void SysConfReader::getLocalNodeIPs(const std::string& usagePrefix,
                                    std::map<int, std::string>& indexedIPs, std::string& serviceIP,
                                    std::string& service2IP) {
    completes([&] {
        collectNodeIPs(identity().floatNodeId, usagePrefix, indexedIPs, serviceIP, service2IP);
    });
}

void SysConfReader::collectNodeIPs(const std::string& nodeId, const std::string& usagePrefix,
                                   std::map<int, std::string>& indexedIPs, std::string& serviceIP,
                                   std::string& service2IP) {
    completes([&] {
        config::Document list;
        if (config::readJsonFile(config::pathOf(config::kNodeList), list)) {
            rules::collectByNumber(rules::addressEntries(rules::nodeEntry(list.root(), nodeId)),
                                   usagePrefix, indexedIPs, serviceIP, service2IP);
        }
    });
}

void SysConfReader::getLocalNodeIPs(std::map<std::string, std::string>& usageIPs) {
    std::string nodeId;
    const auto prepare = [&] {
        usageIPs[kSouthboundUsage].clear();
        for (int slot = 2; slot <= rules::kSouthboundSlots; ++slot) {
            usageIPs[kSouthboundUsage + std::to_string(slot)].clear();
        }
        nodeId = identity().floatNodeId;
    };
    // Every key that the map has by now belongs to the family, the caller's own included.
    const auto slotFor = [&](const std::string& tag) {
        const auto slot = usageIPs.find(tag);
        return slot != usageIPs.end() ? &slot->second : nullptr;
    };
    const rules::TagWalk seen = walkTags(nodeId, prepare, slotFor);
    if (seen.matched) {
        return;
    }
    completes([&] {
        usageIPs[std::string(rules::kServiceTag)] = seen.service;
        if (!seen.service2.empty()) {
            usageIPs[std::string(rules::kService2Tag)] = seen.service2;
        }
    });
}

} // namespace Quarncommon
