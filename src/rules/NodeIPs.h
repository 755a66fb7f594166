// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "rules/NodeList.h"

#include <map>
#include <string>
#include <string_view>

/// The two ways to collect a family of numbered addresses. They differ on purpose: in the tags of
/// the family, the winner, the condition for service addresses, and the walk over arrays.
namespace Quarncommon::rules {

/// Returns the number after a tag's prefix: decimal, 0 without digits, saturated to the range of
/// `long` and then cut to its low 32 bits.
int numberInTag(const std::string& tag, std::size_t prefixLength);

/// Returns whether the number had no address yet.
inline bool keepFirst(std::map<int, std::string>& byNumber, int number,
                      const SharedAddress& address) {
    return byNumber.try_emplace(number, *address).second;
}
inline bool keepFirst(std::map<int, SharedAddress>& byNumber, int number,
                      const SharedAddress& address) {
    return byNumber.try_emplace(number, address).second;
}

/// Existing keys are not overwritten. Service addresses of tags outside the family are always
/// reported. An object is walked like an array. `Address` is std::string or SharedAddress.
template <typename AnyNode, typename Address>
void collectByNumber(const AnyNode& addresses, const std::string& prefix,
                     std::map<int, Address>& byNumber, std::string& service,
                     std::string& service2) {
    for (const AnyNode& node : addresses.children()) {
        AddressEntry<AnyNode> entry(node);
        const SharedAddress& address = entry.address();
        for (const AnyNode& usage : entry.usage().children()) {
            const std::string tag = tagText(usage);
            // The prefix may be anywhere in the tag, but the number is cut at the prefix's length.
            if (tag.find(prefix) != std::string::npos) {
                const int number = numberInTag(tag, prefix.size());
                keepFirst(byNumber, number, address) ? entry.reportTaken(number)
                                                     : entry.reportKept(number);
            } else if (tag == kServiceTag && entry.firstFor(&service)) {
                service = *address;
                entry.reportTaken(tag);
            } else if (tag == kService2Tag && entry.firstFor(&service2)) {
                service2 = *address;
                entry.reportTaken(tag);
            }
        }
    }
}

/// The result of a walk by tag. If an exception ended the walk, the answer has no address of the
/// family, and "service" but not "service2".
struct TagWalk {
    bool matched = false;
    bool complete = false;
    std::string service;
    std::string service2;

    bool hasFamily() const { return complete && matched; }
    std::string secondService() const { return complete ? service2 : std::string(); }
};

/// `Slot slotFor(const std::string& tag)`: false for a tag outside the family. The last wins.
template <typename AnyNode, typename SlotFor, typename Slot>
void collectByTag(const AnyNode& addresses, SlotFor slotFor, std::map<Slot, SharedAddress>& bySlot,
                  TagWalk& seen) {
    forEachTag(addresses, [&](AddressEntry<AnyNode>& entry, const std::string& tag) {
        if (const Slot slot = slotFor(tag)) {
            bySlot[slot] = entry.address();
            seen.matched = true;
            entry.reportTaken(tag);
        } else if (tag == kServiceTag && entry.firstFor(&seen.service)) {
            seen.service = *entry.address();
            entry.reportTaken(tag);
        } else if (tag == kService2Tag && entry.firstFor(&seen.service2)) {
            seen.service2 = *entry.address();
            entry.reportTaken(tag);
        }
        return Walk::OtherTags;
    });
    seen.complete = true;
}

/// The same into texts. If an exception ends the walk, what was found before is stored.
template <typename AnyNode, typename SlotFor>
void collectByTag(const AnyNode& addresses, SlotFor slotFor, TagWalk& seen) {
    // An address is copied only after the walk: each of many entries may win all slots for a time.
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

template <typename AnyNode>
void collectSouthbound(const AnyNode& addresses, std::string_view family,
                       std::map<int, SharedAddress>& bySlot, TagWalk& seen) {
    const auto slotFor = [&](const std::string& tag) { return southboundSlot(tag, family); };
    collectByTag(addresses, slotFor, bySlot, seen);
}

/// An empty second address is not added.
void addServices(const TagWalk& seen, std::map<std::string, std::string>& byTag,
                 Trace* trace = nullptr);

/// Service tags that are keys of the caller belong to the family and are not reported.
void reportServices(const TagWalk& seen, const std::map<std::string, std::string>& byTag,
                    Trace* trace);

} // namespace Quarncommon::rules
