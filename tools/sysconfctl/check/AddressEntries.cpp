// SPDX-License-Identifier: Apache-2.0
#include "check/AddressEntries.h"

#include "check/TextFaults.h"
#include "cli/Suggestion.h"
#include "deployment/JsonValues.h"

#include <rules/NodeIPs.h>
#include <rules/NodeList.h>
#include <rules/Roles.h>

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using located::Path;
using rules::kNorthboundFamily;
using rules::kSouthboundFamily;

/// Each slot of a node with its first address and the place of the tag.
using Slots = std::map<std::string, std::pair<std::string, Path>>;

/// "" if the library does not look for the tag.
std::string slotOf(const std::string& tag) {
    if (rules::southboundSlot(tag, kSouthboundFamily) != 0) {
        return tag;
    }
    if (tag.find(kNorthboundFamily) != std::string::npos) {
        return fmt::format("northbound number {}",
                           rules::numberInTag(tag, kNorthboundFamily.size()));
    }
    const bool known = tag == rules::kServiceTag || tag == rules::kService2Tag ||
                       tag == rules::kMaintenanceTag || tag == rules::kInternalServiceTag;
    return known ? tag : "";
}

std::string withoutNumber(const std::string& tag) {
    return tag.substr(0, tag.find_last_not_of("0123456789") + 1);
}

/// User-defined tags are valid, including a known tag with an additional number.
void checkOtherTag(Checker& checker, const SourceFile& list, const Path& path,
                   const std::string& tag) {
    if (tag.starts_with(kSouthboundFamily)) {
        checker.at(list, path, Severity::Error, "southbound-number",
                   fmt::format("\"{}\" names no southbound slot and is not read", tag),
                   "the first slot is \"southbound\", further ones are \"southbound2\" to "
                   "\"southbound1024\"");
        return;
    }
    const std::vector<std::string_view> known = {"maintenance",      "service",    "service2",
                                                 "internal_service", "northbound", "southbound"};
    const std::string stem = withoutNumber(tag);
    if (std::find(known.begin(), known.end(), stem) != known.end()) {
        return;
    }
    const std::string near = suggestion(stem, known);
    if (!near.empty()) {
        checker.at(list, path, Severity::Warning, "unknown-tag",
                   fmt::format("no query of the library asks for the tag \"{}\"", tag),
                   fmt::format("did you mean \"{}{}\"?", near, tag.substr(stem.size())));
    }
}

void checkNorthNumber(Checker& checker, const SourceFile& list, const Path& path,
                      const std::string& tag) {
    if (tag.find(kNorthboundFamily) == std::string::npos || tag == kNorthboundFamily) {
        return;
    }
    const int number = rules::numberInTag(tag, kNorthboundFamily.size());
    if (tag != std::string(kNorthboundFamily) + std::to_string(number)) {
        checker.at(list, path, Severity::Warning, "northbound-number",
                   fmt::format("\"{}\" is read as northbound number {}", tag, number),
                   fmt::format("write \"northbound\" for number 0, or \"northbound{}\"",
                               number == 0 ? 2 : number));
    }
}

const char* winnerOf(const std::string& slot) {
    return slot.starts_with(kNorthboundFamily)   ? "the first one wins"
           : slot.starts_with(kSouthboundFamily) ? "the last one wins"
           : slot == rules::kInternalServiceTag  ? "the first one wins"
           : slot == rules::kMaintenanceTag
               ? "the first one wins, and the last one in place of an internal-service address"
               : "the first one wins, and the last one in slot lists and for standby nodes";
}

void checkTag(Checker& checker, const SourceFile& list, const Path& path, const std::string& tag,
              const std::string& address, Slots& slots) {
    const std::string slot = slotOf(tag);
    if (slot.empty()) {
        checkOtherTag(checker, list, path, tag);
        return;
    }
    checkNorthNumber(checker, list, path, tag);
    const auto [first, isNew] = slots.emplace(slot, std::make_pair(address, path));
    if (!isNew && first->second.first != address) {
        Finding& finding = checker.at(
            list, path, Severity::Warning, "same-slot",
            fmt::format("this node has another address for {}: {}", slot, winnerOf(slot)),
            "remove one of the two");
        Checker::relate(finding, list, first->second.second, "the other one");
    }
}

void checkUsage(Checker& checker, const SourceFile& list, const Path& entry,
                const std::string& address, Slots& slots) {
    const Path path = with(entry, {"usage"});
    const Json::Value& usage = valueAt(list.tree(), path);
    if (usage.isArray() && !usage.empty()) {
        for (Json::ArrayIndex i = 0; i < usage.size(); ++i) {
            const Path place = with(path, {std::to_string(i)});
            if (usage[i].isString()) {
                if (!checker.hidden(list, place, usage[i].asString())) {
                    checkTag(checker, list, place, rules::lowerCased(usage[i].asString()), address,
                             slots);
                }
            } else if (isScalar(usage[i])) {
                checker.at(list, place, Severity::Error, "odd-type",
                           fmt::format("this tag is {}: it reads as \"{}\"", kindOf(usage[i]),
                                       usage[i].asString()),
                           "write it as a text");
            }
        }
    } else if (usage.isNull() || usage.empty()) {
        if (checker.cause(list, path) == nullptr) {
            const bool named = list.document.find(path) != nullptr && !usage.isArray();
            checker.at(list, path, named ? Severity::Error : Severity::Warning, "no-tags",
                       "this address has no tags: no query finds it by its purpose",
                       "give its tags as a list of texts");
        }
    } else if (!usage.isObject()) {
        checker.at(
            list, path, Severity::Error, "usage-no-list",
            fmt::format("\"usage\" is {} where a list is read: it matches nothing", kindOf(usage)),
            "write it as a list of texts: [\"...\"]");
    }
}

std::string checkAddress(Checker& checker, const SourceFile& list, const Path& entry) {
    const Path path = with(entry, {"IP"});
    const Json::Value& value = valueAt(list.tree(), path);
    if (!isScalar(value) || checker.cause(list, path) != nullptr) {
        return {};
    }
    std::string address = value.asString();
    if (address.empty()) {
        checker
            .at(list, path, Severity::Error, "no-address",
                list.document.find(path) == nullptr ? "this entry has no \"IP\""
                                                    : "the \"IP\" of this entry is empty",
                "give the address, or remove the entry")
            .consequences.emplace_back("queries for its tags have an empty answer");
    } else if (!checker.hidden(list, path, address)) {
        if (isUnspecified(address)) {
            checker.at(
                list, path, Severity::Error, "unspecified-address",
                fmt::format("\"{}\" is not the address of a host: nothing can reach it", address),
                "give the address itself");
        } else if (!isAddress(address)) {
            checker.at(list, path, Severity::Error, "not-an-address",
                       fmt::format("\"{}\" is not an IPv4 or IPv6 address", address));
        }
    }
    return address;
}

/// The master and the standby of one tenancy use an address alternately.
bool isPair(const SourceFile& list, const std::string& one, const std::string& other) {
    const Json::Value& left = nodesOf(list)[one];
    const Json::Value& right = nodesOf(list)[other];
    const std::string role = textAt(left, {"extAttr", "hostType"});
    const std::string otherRole = textAt(right, {"extAttr", "hostType"});
    return textAt(left, {"assignedToTenancy"}) == textAt(right, {"assignedToTenancy"}) &&
           ((role == rules::kMaster && otherRole == rules::kStandby) ||
            (role == rules::kStandby && otherRole == rules::kMaster));
}

} // namespace

void checkAddresses(Checker& checker, const SourceFile& list, const Path& node, Owners& owners) {
    const Path path = with(node, {"IPAddresses"});
    const Json::Value& entries = valueAt(list.tree(), path);
    if (isScalar(entries) || entries.empty()) {
        if (checker.cause(list, path) == nullptr) {
            const bool absent = list.document.find(path) == nullptr;
            checker.at(
                list, path, Severity::Error, "no-addresses",
                absent || entries.isArray()
                    ? fmt::format("node \"{}\" has no addresses", node.back())
                    : fmt::format("\"IPAddresses\" is {} where a list is read", kindOf(entries)),
                "give its addresses as a list");
        }
        return;
    }
    if (!entries.isArray()) {
        return;
    }
    Slots slots;
    for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
        const Path place = with(path, {std::to_string(i)});
        if (entries[i].isNull()) {
            checker.at(list, place, Severity::Error, "null", "this entry is null",
                       "give the address, or remove the entry");
        }
        if (!entries[i].isObject()) {
            continue;
        }
        checker.unknownMembers(list, place, {"IP", "usage"});
        const std::string address = checkAddress(checker, list, place);
        checkUsage(checker, list, place, address, slots);
    }
    for (const auto& [slot, use] : slots) {
        if (!use.first.empty()) {
            owners[{use.first, slot}].emplace_back(node.back(), use.second);
        }
    }
    const bool internal = slots.contains(std::string(rules::kInternalServiceTag)) ||
                          slots.contains(std::string(rules::kMaintenanceTag));
    const std::string domain = textAt(list.tree(), with(node, {"extAttr", "domain_node_type"}));
    if (!internal && checker.cause(list, path) == nullptr) {
        checker.member(list, path, domain.starts_with("ACCESS_") ? Severity::Error : Severity::Note,
                       "no-internal",
                       fmt::format("node \"{}\" has neither an internal-service nor a maintenance "
                                   "address: nothing can reach it from the other nodes",
                                   node.back()),
                       "tag an address \"internal_service\" or \"maintenance\"");
    }
    if (!slots.contains(std::string(rules::kServiceTag)) && checker.cause(list, path) == nullptr) {
        checker.member(list, path, Severity::Note, "no-service",
                       fmt::format("node \"{}\" has no service address", node.back()));
    }
}

void checkOwners(Checker& checker, const SourceFile& list, const Owners& owners) {
    for (const auto& [use, nodes] : owners) {
        const bool identity =
            use.second == rules::kMaintenanceTag || use.second == rules::kInternalServiceTag;
        for (std::size_t i = 1; i < nodes.size(); ++i) {
            if (!identity && isPair(list, nodes[0].first, nodes[i].first)) {
                continue;
            }
            Path entry = nodes[i].second;
            entry.resize(entry.size() - 2);
            Path first = nodes[0].second;
            first.resize(first.size() - 2);
            const Path address = with(entry, {"IP"});
            if (checker.cause(list, address) != nullptr) {
                continue;
            }
            Finding& finding =
                checker.at(list, address, Severity::Error, "same-address",
                           fmt::format("nodes \"{}\" and \"{}\" have the same address {} for {}",
                                       nodes[0].first, nodes[i].first, use.first, use.second),
                           "give each node its own");
            Checker::relate(finding, list, with(first, {"IP"}),
                            fmt::format("the address of node \"{}\"", nodes[0].first));
        }
    }
}

} // namespace sysconfctl
