// SPDX-License-Identifier: Apache-2.0
#include "rules/SlotLists.h"

#include <algorithm>
#include <array>

namespace Quarncommon::rules {

namespace {

constexpr std::array kNorthSlots = {0, 2, 3, 4};
constexpr int kFixedSouthSlots = 10;

/// Returns an empty text with room for all addresses, each with a separator, and as many again.
std::string roomFor(const SlotMap& slots, std::size_t separators) {
    std::size_t size = separators + slots.size();
    for (const auto& [slot, address] : slots) {
        size += address->size();
    }
    std::string list;
    list.reserve(size);
    return list;
}

void append(std::string& list, std::size_t position, int slot, const SharedAddress& address,
            Trace* trace) {
    list += *address;
    if (trace != nullptr) {
        trace->report(SlotPlaced{position, slotName(slot), *address});
    }
}

void appendSlot(std::string& list, std::size_t position, int slot, const SlotMap& slots,
                Trace* trace) {
    if (const auto found = slots.find(slot); found != slots.end()) {
        append(list, position, slot, found->second, trace);
    }
}

void reportNotNeeded(Trace* trace) {
    if (trace != nullptr) {
        trace->report(SlotNotNeeded{std::string(kServiceTag)});
        trace->report(SlotNotNeeded{std::string(kService2Tag)});
    }
}

std::string northList(const SlotMap& byNumber, Trace* trace) {
    reportNotNeeded(trace);
    std::string list = roomFor(byNumber, kNorthSlots.size());
    // Number 1 has no fixed slot: the tag without a number, 0, is the first of the family.
    std::size_t position = 0;
    for (const int slot : kNorthSlots) {
        appendSlot(list, ++position, slot, byNumber, trace);
        list += ';';
    }
    bool further = false;
    for (const auto& [number, address] : byNumber) {
        if (std::find(kNorthSlots.begin(), kNorthSlots.end(), number) == kNorthSlots.end()) {
            further = true;
            append(list, ++position, number, address, trace);
            list += ';';
        }
    }
    // The last separator is removed only after further numbers: the list of four slots keeps it.
    if (further) {
        list.pop_back();
    }
    return list;
}

std::string southList(const SlotMap& bySlot, Trace* trace) {
    std::string list = roomFor(bySlot, kFixedSouthSlots);
    for (int slot = 1; slot <= kFixedSouthSlots; ++slot) {
        if (slot > 1) {
            list += ';';
        }
        appendSlot(list, static_cast<std::size_t>(slot), slot, bySlot, trace);
    }
    std::size_t position = kFixedSouthSlots;
    for (auto further = bySlot.upper_bound(kFixedSouthSlots); further != bySlot.end(); ++further) {
        if (!further->second->empty()) {
            list += ';';
            append(list, ++position, further->first, further->second, trace);
        }
    }
    return list;
}

} // namespace

std::string serviceList(const std::string& service, const std::string& service2,
                        const std::string& maintenance, Trace* trace) {
    const bool toMaintenance = service.empty();
    std::string list = toMaintenance      ? maintenance
                       : service2.empty() ? service
                                          : service + ";" + service2;
    if (trace != nullptr) {
        using To = FallbackUsed::To;
        trace->report(FallbackUsed{toMaintenance ? To::Maintenance : To::Service, list});
    }
    return list;
}

std::string northSlotList(const SlotMap& byNumber, const std::string& service,
                          const std::string& service2, const std::string& maintenance,
                          Trace* trace) {
    return byNumber.empty() ? serviceList(service, service2, maintenance, trace)
                            : northList(byNumber, trace);
}

std::string southSlotList(const SlotMap& bySlot, const TagWalk& seen,
                          const std::string& maintenance, Trace* trace) {
    reportServices(seen, {}, trace);
    return seen.hasFamily() ? southList(bySlot, trace)
                            : serviceList(seen.service, seen.secondService(), maintenance, trace);
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
