#pragma once

#include "rules/NodeList.h"

#include <map>
#include <string>
#include <string_view>

/// The two ways in which a family of numbered addresses is collected from a node's entries. They
/// differ on purpose in nearly every point: what belongs to the family, which of several addresses
/// counts, when service addresses are told, and how the arrays are walked.
namespace Quarncommon::rules {

/// By the number in the tag: first address counts, service addresses of tags outside the family
/// are always told, an object is walked like an array.
void collectByNumber(const Node& addresses, const std::string& prefix,
                     std::map<int, std::string>& byNumber, std::string& service,
                     std::string& service2);

/// What a walk by tag has seen so far; meaningful also when the walk ended in an exception.
struct TagWalk {
    bool matched = false;
    std::string service;
    std::string service2;
};

/// By the whole tag: `std::string* slotFor(const std::string& tag)` tells where the family keeps
/// the address of a tag, null for a tag outside of it. Last address counts; service addresses are
/// told apart from the family.
template <typename SlotFor>
void collectByTag(const Node& addresses, SlotFor slotFor, TagWalk& seen) {
    forEachTag(addresses, [&](const Node& entry, const std::string& tag) {
        if (std::string* slot = slotFor(tag)) {
            *slot = entry["IP"].asString();
            seen.matched = true;
        } else if (tag == kServiceTag) {
            seen.service = entry["IP"].asString();
        } else if (tag == kService2Tag) {
            seen.service2 = entry["IP"].asString();
        }
        return Walk::OtherTags;
    });
}

/// The southbound slots: 1 is named by `family` alone, n by `family` followed by the decimal n.
inline constexpr int kSouthboundSlots = 1024;

/// The slot that a tag names, 0 for a tag that names none (`family` followed by 1 is one of them).
int southboundSlot(std::string_view tag, std::string_view family);

} // namespace Quarncommon::rules
