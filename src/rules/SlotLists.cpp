#include "rules/SlotLists.h"

#include "rules/NodeIPs.h"

namespace Quarncommon::rules {

std::string serviceList(const std::string& service, const std::string& service2,
                        const std::string& maintenance) {
    if (service.empty()) {
        return maintenance;
    }
    return service2.empty() ? service : service + ";" + service2;
}

std::string northSlotList(std::map<int, std::string> byNumber, const std::string& service,
                          const std::string& service2, const std::string& maintenance) {
    if (byNumber.empty()) {
        return serviceList(service, service2, maintenance);
    }
    std::string list;
    // Number 1 has no slot of its own: the bare tag, number 0, is the first of the family.
    for (const int slot : {0, 2, 3, 4}) {
        if (const auto numbered = byNumber.find(slot); numbered != byNumber.end()) {
            list += numbered->second;
            byNumber.erase(numbered);
        }
        list += ';';
    }
    for (const auto& [number, address] : byNumber) {
        list += address;
        list += ';';
    }
    // Only behind further numbers is the last separator taken off; callers know the bare four
    // slots by the one that stays.
    if (!byNumber.empty()) {
        list.pop_back();
    }
    return list;
}

std::string southSlotList(const std::map<int, std::string>& bySlot) {
    constexpr int kFixedSlots = 10;
    std::string list;
    for (int slot = 1; slot <= kFixedSlots; ++slot) {
        if (slot > 1) {
            list += ';';
        }
        if (const auto numbered = bySlot.find(slot); numbered != bySlot.end()) {
            list += numbered->second;
        }
    }
    for (auto further = bySlot.upper_bound(kFixedSlots); further != bySlot.end(); ++further) {
        if (!further->second.empty()) {
            list += ';';
            list += further->second;
        }
    }
    return list;
}

int protocolFamily(const std::list<std::string>& pieces) {
    bool colon = false;
    bool dot = false;
    for (const std::string& piece : pieces) {
        if (piece.find(':') != std::string::npos) {
            colon = true;
        } else if (piece.find('.') != std::string::npos) {
            dot = true;
        }
    }
    if (!colon) {
        return 0;
    }
    return dot ? 2 : 1;
}

} // namespace Quarncommon::rules
