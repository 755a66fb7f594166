// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "cli/Suggestion.h"
#include "deployment/JsonValues.h"
#include "deployment/TypeMismatches.h"

#include <rules/NodeIPs.h>
#include <rules/NodeList.h>
#include <rules/Roles.h>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <map>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using located::Path;

using rules::kNorthboundFamily;
using rules::kSouthboundFamily;

Path with(Path path, std::initializer_list<std::string> steps) {
    path.insert(path.end(), steps.begin(), steps.end());
    return path;
}

bool isManager(const Checker& checker, const SourceFile& list) {
    return &list == &checker.sources.managerNodeList;
}

/// What a value of a wrong type does, and how bad that is here.
/// @param own The values that this process reads of the node list.
void checkMismatch(Checker& checker, const SourceFile& list, const TypeMismatch& mismatch,
                   const std::vector<TypeMismatch>& own) {
    const std::string& name = mismatch.path.empty() ? std::string() : mismatch.path.back();
    const bool whole = mismatch.path.size() < 2;
    const bool addresses = mismatch.path.size() > 2 && mismatch.path[2] == "IPAddresses";
    std::string effect;
    Severity severity = Severity::Warning;
    if (whole) {
        severity = Severity::Error;
        effect = "no node is found";
    } else if (isManager(checker, list)) {
        // Queries over all nodes come by every node, but not by every member of it.
        severity = (addresses && name != "IP") || mismatch.path.size() == 2 ? Severity::Error
                                                                            : Severity::Warning;
        effect = addresses || mismatch.path.size() == 2
                     ? "queries over all nodes that come here have no answer"
                     : "the search for master and standby may end here";
    } else {
        const bool isReadHere = std::any_of(own.begin(), own.end(), [&](const TypeMismatch& one) {
            return one.path == mismatch.path;
        });
        severity = isReadHere ? Severity::Error : Severity::Warning;
        effect = "queries for this node that come here have no answer, and so has the search for "
                 "the node whom a standby stands in for";
    }
    checker.at(list, mismatch.path, severity, "wrong-type",
               fmt::format("{} {}: {}",
                           name.empty()                                         ? "the root"
                           : list.document.findMember(mismatch.path) == nullptr ? "this value"
                                                                                : '"' + name + '"',
                           describe(mismatch, list.tree), effect),
               "correct its type");
}

/// A role name that is nearly one of the known ones; tags may be in any case, role names may not.
void checkName(Checker& checker, const SourceFile& list, const Path& path,
               const std::vector<std::string_view>& known) {
    const Json::Value& value = valueAt(list.tree, path);
    if (!value.isString() || value.asString().empty() ||
        std::find(known.begin(), known.end(), value.asString()) != known.end()) {
        return;
    }
    const std::string text = value.asString();
    std::string meant;
    for (const std::string_view name : known) {
        if (rules::lowerCased(text) == rules::lowerCased(std::string(name))) {
            meant = name;
        }
    }
    const bool sameLetters = !meant.empty();
    meant = sameLetters ? meant : suggestion(text, known);
    if (!meant.empty()) {
        checker.at(list, path, Severity::Warning, "role-name",
                   fmt::format("\"{}\" is no {} that is known{}", text, path.back(),
                               sameLetters ? ": role names are compared as they stand" : ""),
                   fmt::format("did you mean \"{}\"?", meant));
    }
}

/// The number under which a northbound tag is kept.
int northboundNumber(const std::string& tag) {
    return rules::numberInTag(tag, kNorthboundFamily.size());
}

/// The slot of a tag among the node's tags, "" for a tag that has none.
std::string slotOf(const std::string& tag) {
    if (rules::southboundSlot(tag, kSouthboundFamily) != 0) {
        return tag;
    }
    if (tag.find(kNorthboundFamily) != std::string::npos) {
        return fmt::format("northbound number {}", northboundNumber(tag));
    }
    const bool known = tag == rules::kServiceTag || tag == rules::kService2Tag ||
                       tag == rules::kMaintenanceTag || tag == rules::kInternalServiceTag;
    return known ? tag : "";
}

/// A tag of a family whose number is not the one that it seems to have.
void checkNumber(Checker& checker, const SourceFile& list, const Path& path,
                 const std::string& tag) {
    if (tag.starts_with(kSouthboundFamily) && rules::southboundSlot(tag, kSouthboundFamily) == 0) {
        checker.at(list, path, Severity::Warning, "southbound-number",
                   fmt::format("\"{}\" names no southbound slot and is not read", tag),
                   "the first slot is \"southbound\", further ones are \"southbound2\" to "
                   "\"southbound1024\"");
        return;
    }
    if (tag.find(kNorthboundFamily) == std::string::npos || tag == kNorthboundFamily) {
        return;
    }
    const int number = northboundNumber(tag);
    if (tag != std::string(kNorthboundFamily) + std::to_string(number)) {
        checker.at(list, path, Severity::Warning, "northbound-number",
                   fmt::format("\"{}\" counts as northbound number {}", tag, number),
                   fmt::format("write \"northbound\" for number 0, or \"northbound{}\"",
                               number == 0 ? 2 : number));
    }
}

void checkTag(Checker& checker, const SourceFile& list, const Path& path, const std::string& tag,
              std::map<std::string, std::string>& slots) {
    checkNumber(checker, list, path, tag);
    const std::string slot = slotOf(tag);
    if (slot.empty()) {
        const std::vector<std::string_view> known = {
            "maintenance", "service", "service2", "internal_service", "northbound", "southbound"};
        const std::string near = suggestion(tag, known);
        if (!near.empty() && !tag.starts_with(kSouthboundFamily)) {
            checker.at(list, path, Severity::Warning, "unknown-tag",
                       fmt::format("the library itself asks for no tag \"{}\"", tag),
                       fmt::format("did you mean \"{}\"?", near));
        }
        return;
    }
    const auto [first, isNew] = slots.emplace(slot, located::pointer(path));
    if (!isNew) {
        const bool north = slot.starts_with(kNorthboundFamily);
        const bool south = slot.starts_with(kSouthboundFamily);
        checker.at(
            list, path, Severity::Warning, "same-slot",
            fmt::format("{} has an address already at {}: {}", slot, first->second,
                        north   ? "the first one counts, not this one"
                        : south ? "the last one counts"
                        : slot == "maintenance"
                            ? "the first one counts as the maintenance address, the last one "
                              "in place of an internal-service address"
                        : slot == rules::kInternalServiceTag
                            ? "the first one counts"
                            : "the first one counts as the address of that tag, the last one "
                              "in slot lists and for standby nodes"),
            "remove one of them");
    }
}

void checkUsage(Checker& checker, const SourceFile& list, const Path& entry,
                std::map<std::string, std::string>& slots) {
    const Path path = with(entry, {"usage"});
    const Json::Value& usage = valueAt(list.tree, path);
    if (usage.isNull() || ((usage.isArray() || usage.isObject()) && usage.empty())) {
        checker.at(list, path, Severity::Warning, "no-tags",
                   "this address has no tags: nothing finds it by its purpose");
        return;
    }
    if (!usage.isArray()) {
        if (!usage.isObject()) {
            checker.at(list, path, Severity::Warning, "usage-no-list",
                       fmt::format("\"usage\" is {} where a list is read: it matches nothing",
                                   kindOf(usage)),
                       "write it as a list of texts: [\"...\"]");
        }
        return;
    }
    for (Json::ArrayIndex i = 0; i < usage.size(); ++i) {
        const Json::Value& tag = usage[i];
        const Path place = with(path, {std::to_string(i)});
        if (tag.isString()) {
            checkTag(checker, list, place, rules::lowerCased(tag.asString()), slots);
        } else if (!tag.isArray() && !tag.isObject()) {
            checker.at(
                list, place, Severity::Warning, "odd-type",
                fmt::format("this tag is {}: it reads as \"{}\"", kindOf(tag), tag.asString()),
                "write it as a text");
        }
    }
}

/// What a node needs addresses for; `slots` are those that it has.
void checkNeeded(Checker& checker, const SourceFile& list, const Path& path,
                 const std::map<std::string, std::string>& slots) {
    if (!slots.contains(std::string(rules::kMaintenanceTag)) &&
        !slots.contains("internal_service")) {
        checker.member(list, path, Severity::Warning, "no-internal",
                       "this node has neither an internal-service nor a maintenance address: the "
                       "other nodes cannot reach it",
                       "tag an address \"internal_service\" or \"maintenance\"");
    }
    if (!slots.contains(std::string(rules::kServiceTag))) {
        checker.member(
            list, path, Severity::Warning, "no-service",
            "this node has no service address: queries for it go without, and no standby "
            "can stand in for it",
            "tag an address \"service\"");
    }
}

void checkAddresses(Checker& checker, const SourceFile& list, const Path& node,
                    std::map<std::string, std::string>& owners) {
    const Path path = with(node, {"IPAddresses"});
    const Json::Value& entries = valueAt(list.tree, path);
    if (entries.isNull() || ((entries.isArray() || entries.isObject()) && entries.empty())) {
        checker.at(list, path, Severity::Warning, "no-addresses", "this node has no addresses");
    } else if (!entries.isArray() && !entries.isObject()) {
        checker.at(list, path, Severity::Warning, "no-addresses",
                   fmt::format("\"IPAddresses\" is {} where a list is read: the node has no "
                               "addresses",
                               kindOf(entries)));
    }
    if (!entries.isArray()) {
        return;
    }
    std::map<std::string, std::string> slots; // the addresses of this node, by what they are for
    for (Json::ArrayIndex i = 0; i < entries.size(); ++i) {
        const Path place = with(path, {std::to_string(i)});
        const Json::Value& entry = entries[i];
        if (entry.isNull()) {
            checker.at(list, place, Severity::Warning, "no-address", "this entry is null");
        }
        if (!entry.isObject()) {
            continue;
        }
        checker.unknownMembers(list, place, {"IP", "usage"});
        const Json::Value& ip = entry["IP"];
        const Path address = with(place, {"IP"});
        if (ip.isNull() || (ip.isString() && ip.asString().empty())) {
            checker.at(list, address, Severity::Warning, "no-address",
                       "this entry has no \"IP\": where it counts, the answer is empty");
        } else if (!ip.isArray() && !ip.isObject()) {
            const auto [owner, isNew] = owners.emplace(ip.asString(), node.back());
            if (!isAddress(ip.asString())) {
                checker.at(list, address, Severity::Warning, "not-an-address",
                           fmt::format("\"{}\" is no IPv4 or IPv6 address", ip.asString()));
            } else if (!isNew && owner->second != node.back()) {
                checker.at(list, address, Severity::Warning, "same-address",
                           fmt::format("node \"{}\" has the address {}, too", owner->second,
                                       ip.asString()));
            }
        }
        checkUsage(checker, list, place, slots);
    }
    if (!entries.empty()) {
        checkNeeded(checker, list, path, slots);
    }
}

void checkNode(Checker& checker, const SourceFile& list, const std::string& id,
               std::map<std::string, std::string>& owners) {
    const Path path = {"nodeList", id};
    if (id.empty()) {
        checker.member(list, path, Severity::Warning, "empty-id", "this node has no id");
    }
    const Json::Value& node = valueAt(list.tree, path);
    if (node.isNull()) {
        checker.at(list, path, Severity::Warning, "no-addresses", "this node is null");
    }
    if (!node.isObject()) {
        return;
    }
    checker.unknownMembers(list, path, {"IPAddresses", "extAttr", "assignedToTenancy"});
    checker.unknownMembers(list, with(path, {"extAttr"}),
                           {"hostType", "HOSTID", "domain_node_type"});
    checkName(checker, list, with(path, {"extAttr", "hostType"}), {"master", "standby"});
    checkName(checker, list, with(path, {"extAttr", "domain_node_type"}),
              {"ACCESS_Master", "ACCESS_Backup"});
    const Path attributes = with(path, {"extAttr"});
    if (list.document.find(attributes) != nullptr && valueAt(list.tree, attributes).isNull()) {
        checker.at(list, attributes, Severity::Warning, "null",
                   "\"extAttr\" is null: the node has no role and no host tag");
    }
    for (const Path& text :
         {with(path, {"assignedToTenancy"}), with(path, {"extAttr", "hostType"}),
          with(path, {"extAttr", "HOSTID"}), with(path, {"extAttr", "domain_node_type"})}) {
        const Json::Value& value = valueAt(list.tree, text);
        if (value.isNull() && list.document.find(text) != nullptr) {
            checker.at(list, text, Severity::Warning, "null",
                       fmt::format("\"{}\" is null: it reads as absent", text.back()));
        } else if (!value.isNull() && !value.isString() && !value.isArray() && !value.isObject()) {
            checker.at(list, text, Severity::Warning, "odd-type",
                       fmt::format("\"{}\" is {}: it reads as \"{}\"", text.back(), kindOf(value),
                                   value.asString()),
                       "write it as a text");
        }
    }
    checkAddresses(checker, list, path, owners);
}

} // namespace

void checkNodeList(Checker& checker, const SourceFile& list) {
    if (!list.loads) {
        return;
    }
    const auto own = isManager(checker, list) ? std::vector<TypeMismatch>()
                                              : ownMismatches(list.tree, checker.loaded().values());
    for (const TypeMismatch& mismatch : nodeListMismatches(list.tree)) {
        checkMismatch(checker, list, mismatch, own);
    }
    if (!list.tree.isObject()) {
        return;
    }
    checker.unknownMembers(list, {}, {"nodeList"});
    const Json::Value& nodes = list.tree["nodeList"];
    if (nodes.isNull() || (nodes.isObject() && nodes.empty())) {
        checker.member(list, {"nodeList"}, Severity::Warning, "no-nodes", "the list has no nodes");
    }
    if (!nodes.isObject()) {
        return;
    }
    std::map<std::string, std::string> owners;
    for (const std::string& id : nodes.getMemberNames()) {
        checkNode(checker, list, id, owners);
    }
}

} // namespace sysconfctl
