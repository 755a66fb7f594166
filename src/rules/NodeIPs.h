#pragma once

#include "rules/NodeList.h"

#include <map>
#include <string>
#include <string_view>

/// The two ways to collect a family of numbered addresses from a node's entries. They differ on
/// purpose in nearly every point: which tags belong to the family, which of several addresses wins,
/// when service addresses are reported, and how the arrays are walked.
namespace Quarncommon::rules {

/// By the number in the tag. The first address wins, numbers that are already keys included.
/// Service addresses of tags outside the family are always reported. An object is walked like an
/// array.
void collectByNumber(const Node& addresses, const std::string& prefix,
                     std::map<int, std::string>& byNumber, std::string& service,
                     std::string& service2);
void collectByNumber(const Node& addresses, const std::string& prefix,
                     std::map<int, SharedAddress>& byNumber, std::string& service,
                     std::string& service2);

/// What a walk by tag has seen so far; valid also if the walk ended in an exception.
struct TagWalk {
    bool matched = false;
    std::string service;
    std::string service2;
};

/// By the whole tag: `Slot slotFor(const std::string& tag)` returns the slot of a tag, a value that
/// converts to false for a tag outside the family. The last address wins. Service addresses are
/// reported apart from the family.
template <typename SlotFor, typename Slot>
void collectByTag(const Node& addresses, SlotFor slotFor, std::map<Slot, SharedAddress>& bySlot,
                  TagWalk& seen) {
    forEachTag(addresses, [&](AddressEntry& entry, const std::string& tag) {
        if (const Slot slot = slotFor(tag)) {
            bySlot[slot] = entry.address();
            seen.matched = true;
        } else if (tag == kServiceTag && entry.firstFor(&seen.service)) {
            seen.service = *entry.address();
        } else if (tag == kService2Tag && entry.firstFor(&seen.service2)) {
            seen.service2 = *entry.address();
        }
        return Walk::OtherTags;
    });
}

/// The same into texts: `std::string* slotFor(const std::string& tag)` returns where the address of
/// a tag is stored. If the walk ends in an exception, what was found before is stored.
template <typename SlotFor>
void collectByTag(const Node& addresses, SlotFor slotFor, TagWalk& seen) {
    // An address is copied only when it has won: each of many entries may be the last for all
    // slots.
    std::map<std::string*, SharedAddress> bySlot;
    const auto store = [&] {
        for (const auto& [slot, address] : bySlot) {
            *slot = *address;
        }
    };
    try {
        collectByTag(addresses, slotFor, bySlot, seen);
    } catch (...) {
        store();
        throw;
    }
    store();
}

/// The southbound slots: `family` alone names 1, `family` followed by the decimal n names n.
inline constexpr int kSouthboundSlots = 1024;

/// Returns the slot that a tag names, 0 if it names none, as `family` followed by 1.
int southboundSlot(std::string_view tag, std::string_view family);

} // namespace Quarncommon::rules
