#include "rules/SlotLists.h"

#include "rules/NodeIPs.h"

#include <algorithm>
#include <array>

namespace Quarncommon::rules {

namespace {

constexpr std::array kNorthSlots = {0, 2, 3, 4};
constexpr int kFixedSouthSlots = 10;

const std::string& textOf(const std::string& address) {
    return address;
}
const std::string& textOf(const SharedAddress& address) {
    return *address;
}

/// Returns an empty text with room for all addresses, each with a separator, and as many again.
template <typename Address>
std::string roomFor(const std::map<int, Address>& slots, std::size_t separators) {
    std::size_t size = separators + slots.size();
    for (const auto& [slot, address] : slots) {
        size += textOf(address).size();
    }
    std::string list;
    list.reserve(size);
    return list;
}

/// Appends the address of that slot, if it has one.
template <typename Address>
void appendSlot(const std::map<int, Address>& slots, int slot, std::string& list) {
    if (const auto found = slots.find(slot); found != slots.end()) {
        list += textOf(found->second);
    }
}

template <typename Address>
std::string northList(const std::map<int, Address>& byNumber) {
    std::string list = roomFor(byNumber, kNorthSlots.size());
    // Number 1 has no fixed slot: the tag without a number, 0, is the first of the family.
    for (const int slot : kNorthSlots) {
        appendSlot(byNumber, slot, list);
        list += ';';
    }
    bool further = false;
    for (const auto& [number, address] : byNumber) {
        if (std::find(kNorthSlots.begin(), kNorthSlots.end(), number) == kNorthSlots.end()) {
            further = true;
            list += textOf(address);
            list += ';';
        }
    }
    // The last separator is removed only after further numbers: callers recognise the four slots
    // alone by the one that stays.
    if (further) {
        list.pop_back();
    }
    return list;
}

template <typename Address>
std::string southList(const std::map<int, Address>& bySlot) {
    std::string list = roomFor(bySlot, kFixedSouthSlots);
    for (int slot = 1; slot <= kFixedSouthSlots; ++slot) {
        if (slot > 1) {
            list += ';';
        }
        appendSlot(bySlot, slot, list);
    }
    for (auto further = bySlot.upper_bound(kFixedSouthSlots); further != bySlot.end(); ++further) {
        if (!textOf(further->second).empty()) {
            list += ';';
            list += textOf(further->second);
        }
    }
    return list;
}

} // namespace

std::string serviceList(const std::string& service, const std::string& service2,
                        const std::string& maintenance) {
    if (service.empty()) {
        return maintenance;
    }
    return service2.empty() ? service : service + ";" + service2;
}

std::string northSlotList(const std::map<int, std::string>& byNumber, const std::string& service,
                          const std::string& service2, const std::string& maintenance) {
    return byNumber.empty() ? serviceList(service, service2, maintenance) : northList(byNumber);
}

std::string sharedNorthSlotList(const std::map<int, SharedAddress>& byNumber,
                                const std::string& service, const std::string& service2,
                                const std::string& maintenance) {
    return byNumber.empty() ? serviceList(service, service2, maintenance) : northList(byNumber);
}

std::string southSlotList(const std::map<int, std::string>& bySlot) {
    return southList(bySlot);
}

std::string sharedSouthSlotList(const std::map<int, SharedAddress>& bySlot) {
    return southList(bySlot);
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
