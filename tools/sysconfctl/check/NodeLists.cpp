// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "check/TextFaults.h"
#include "cli/Suggestion.h"
#include "deployment/JsonValues.h"
#include "deployment/TypeMismatches.h"

#include <rules/NodeIPs.h>
#include <rules/NodeList.h>
#include <rules/Roles.h>

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using located::Path;

using rules::kNorthboundFamily;
using rules::kSouthboundFamily;

bool isManager(const Checker& checker, const SourceFile& list) {
    const auto& views = checker.inventory.views;
    return std::any_of(views.begin(), views.end(),
                       [&](const View& view) { return view.managerNodeList == &list; });
}

bool isScalar(const Json::Value& value) {
    return !value.isArray() && !value.isObject();
}

bool isRegular(const Json::Value& node) {
    const auto isObjectOrNull = [](const Json::Value& value) {
        return value.isNull() || value.isObject();
    };
    if (!isObjectOrNull(node)) {
        return false;
    }
    if (node.isNull()) {
        return true;
    }
    const Json::Value& attributes = node["extAttr"];
    const Json::Value& addresses = node["IPAddresses"];
    if (!isScalar(node["assignedToTenancy"]) || !isObjectOrNull(attributes) ||
        !(addresses.isNull() || addresses.isArray())) {
        return false;
    }
    for (const char* name : {"hostType", "HOSTID", "domain_node_type"}) {
        if (attributes.isObject() && !isScalar(attributes[name])) {
            return false;
        }
    }
    return std::all_of(addresses.begin(), addresses.end(), [&](const Json::Value& entry) {
        if (entry.isNull()) {
            return true;
        }
        if (!entry.isObject() || !isScalar(entry["IP"]) || entry["usage"].isObject()) {
            return false;
        }
        const Json::Value& usage = entry["usage"];
        return !usage.isArray() || std::all_of(usage.begin(), usage.end(), isScalar);
    });
}

/// Whether a standby reads every node of the list, to find the node that it replaces.
bool hasStandby(const SourceFile& list, const std::set<std::string>& own) {
    return std::any_of(own.begin(), own.end(), [&](const std::string& id) {
        return textAt(nodesOf(list), {id, "extAttr", "hostType"}) == rules::kStandby;
    });
}

void checkTypes(Checker& checker, const SourceFile& list) {
    const bool manager = isManager(checker, list);
    const std::set<std::string> own = ownNodes(checker.inventory, list);
    const bool standby = hasStandby(list, own);
    for (const TypeMismatch& mismatch : nodeListMismatches(list.tree)) {
        const Path& path = mismatch.path;
        const bool whole = path.size() < 2;
        const bool isRead = whole || manager || standby || own.contains(path[1]);
        const char* effect = whole     ? "no node is found"
                             : manager ? "queries over all nodes have no answer"
                             : isRead  ? "queries of this node have no answer"
                                       : "processes on that node would have no answer";
        checker.at(list, path, isRead ? Severity::Error : Severity::Warning, "wrong-type",
                   fmt::format("{} {}: {}",
                               path.empty() ? "the root"
                               : list.document.findMember(path) == nullptr
                                   ? "this value"
                                   : '"' + path.back() + '"',
                               describe(mismatch, list.tree), effect),
                   "correct its type");
    }
}

/// Returns whether the string can be compared with other values.
bool checkText(Checker& checker, const SourceFile& list, const Path& path) {
    const Json::Value& value = valueAt(list.tree, path);
    if (value.isArray() || value.isObject() || list.document.find(path) == nullptr) {
        return false;
    }
    if (value.isNull()) {
        checker.at(list, path, Severity::Warning, "null",
                   fmt::format("\"{}\" is null: it reads as \"\"", path.back()),
                   "set it, or remove it");
        return false;
    }
    if (!value.isString()) {
        checker.at(list, path, Severity::Error, "odd-type",
                   fmt::format("\"{}\" is {}: it reads as \"{}\"", path.back(), kindOf(value),
                               value.asString()),
                   "write it as a text");
        return false;
    }
    return !checker.hidden(list, path, value.asString());
}

bool isOneOf(const std::string& text, const std::vector<std::string_view>& names) {
    return std::find(names.begin(), names.end(), text) != names.end();
}

std::string nearRole(const std::string& text, const std::vector<std::string_view>& known) {
    for (const std::string_view name : known) {
        if (rules::lowerCased(text) == rules::lowerCased(std::string(name))) {
            return std::string(name);
        }
    }
    return suggestion(text, known);
}

void checkHostType(Checker& checker, const SourceFile& list, const Path& path) {
    const std::string text = textAt(list.tree, path);
    if (!checkText(checker, list, path) || text.empty() ||
        isOneOf(text, {rules::kMaster, rules::kStandby})) {
        return;
    }
    const std::string near = nearRole(text, {rules::kMaster, rules::kStandby});
    checker.at(list, path, Severity::Error, "role-name",
               fmt::format("unknown hostType \"{}\": the node is neither master nor "
                           "standby",
                           text),
               near.empty() ? "write \"master\", \"standby\" or \"\""
                            : fmt::format("did you mean \"{}\"? letter case matters", near));
}

void checkDomainType(Checker& checker, const SourceFile& list, const Path& path) {
    const std::vector<std::string_view> known = {"ACCESS_Master", "ACCESS_Backup", "DATA_Master",
                                                 "DATA_Backup"};
    const std::string text = textAt(list.tree, path);
    if (!checkText(checker, list, path) || text.empty() || isOneOf(text, known)) {
        return;
    }
    const std::string near = nearRole(text, known);
    if (!near.empty()) {
        checker.at(list, path, Severity::Error, "role-name",
                   fmt::format("unknown domain_node_type \"{}\"", text),
                   fmt::format("did you mean \"{}\"? letter case matters", near));
    }
}

void checkRole(Checker& checker, const SourceFile& list, const Path& attributes) {
    const Path hostType = with(attributes, {"hostType"});
    const Path domainType = with(attributes, {"domain_node_type"});
    checkHostType(checker, list, hostType);
    checkDomainType(checker, list, domainType);
    const std::string host = textAt(list.tree, hostType);
    const std::string domain = textAt(list.tree, domainType);
    const std::string_view wanted = domain.ends_with("_Master")   ? rules::kMaster
                                    : domain.ends_with("_Backup") ? rules::kStandby
                                                                  : std::string_view();
    Finding* known = checker.cause(list, hostType);
    known = known != nullptr ? known : checker.cause(list, domainType);
    if (known != nullptr || wanted.empty() || wanted == host) {
        if (known != nullptr && !wanted.empty() && wanted != host) {
            known->severity = Severity::Error;
        }
        return;
    }
    Finding& finding = checker.at(
        list, hostType, Severity::Error, "role-mismatch",
        host.empty()
            ? fmt::format("this node has no hostType, but the domain_node_type \"{}\"", domain)
            : fmt::format("the hostType \"{}\" does not match the domain_node_type \"{}\"", host,
                          domain),
        "correct one of the two");
    finding.consequences.emplace_back("the node is neither master nor standby of its tenancy");
    Checker::relate(finding, list, domainType, "the domain_node_type");
    checker.explains(finding, list, domainType);
}

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
    if (isOneOf(stem, known)) {
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

/// `slots` maps each slot of the node to its addresses.
void checkTag(Checker& checker, const SourceFile& list, const Path& path, const std::string& tag,
              const std::string& address,
              std::map<std::string, std::pair<std::string, Path>>& slots) {
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

using Slots = std::map<std::string, std::pair<std::string, Path>>;

void checkUsage(Checker& checker, const SourceFile& list, const Path& entry,
                const std::string& address, Slots& slots) {
    const Path path = with(entry, {"usage"});
    const Json::Value& usage = valueAt(list.tree, path);
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
    const Json::Value& value = valueAt(list.tree, path);
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

/// The uses of an address for one purpose: node and place.
using Owners =
    std::map<std::pair<std::string, std::string>, std::vector<std::pair<std::string, Path>>>;

void checkAddresses(Checker& checker, const SourceFile& list, const Path& node, Owners& owners) {
    const Path path = with(node, {"IPAddresses"});
    const Json::Value& entries = valueAt(list.tree, path);
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
    const std::string domain = textAt(list.tree, with(node, {"extAttr", "domain_node_type"}));
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

void checkNode(Checker& checker, const SourceFile& list, const std::string& id, Owners& owners) {
    const Path path = {"nodeList", id};
    if (id.empty()) {
        checker.member(list, path, Severity::Error, "empty-id", "this node has no id");
    }
    checker.hidden(list, path, id, true);
    const Json::Value& node = nodesOf(list)[id];
    if (node.isNull() || (node.isObject() && node.empty())) {
        checker.at(list, path, Severity::Error, node.isNull() ? "null" : "empty",
                   fmt::format("node \"{}\" is {}: it has no addresses and no role", id,
                               node.isNull() ? "null" : "empty"),
                   "complete the entry, or remove it");
        return;
    }
    if (!node.isObject()) {
        return;
    }
    checker.unknownMembers(list, path, {"IPAddresses", "extAttr", "assignedToTenancy"});
    const Path attributes = with(path, {"extAttr"});
    const Json::Value& extension = node["extAttr"];
    if (extension.isNull() && list.document.find(attributes) != nullptr) {
        checker.at(list, attributes, Severity::Warning, "null",
                   "\"extAttr\" is null: the node has no role and no host tag");
    }
    const Path tenancy = with(path, {"assignedToTenancy"});
    checkText(checker, list, tenancy);
    if (list.document.find(tenancy) == nullptr && checker.cause(list, tenancy) == nullptr) {
        checker.at(list, tenancy, Severity::Note, "absent",
                   fmt::format("node \"{}\" has no tenancy", id));
    }
    if (extension.isObject()) {
        checker.unknownMembers(list, attributes, {"hostType", "HOSTID", "domain_node_type"});
        checkText(checker, list, with(attributes, {"HOSTID"}));
        checkRole(checker, list, attributes);
    }
    checkAddresses(checker, list, path, owners);
}

} // namespace

void checkNodeList(Checker& checker, const SourceFile& list) {
    const Json::Value& nodes = nodesOf(list);
    if (list.tree.isObject()) {
        checker.unknownMembers(list, {}, {"nodeList"});
    }
    const bool hasNodes = nodes.isObject() && !nodes.empty();
    const Path nodeList = {"nodeList"};
    const Json::Value& given = valueAt(list.tree, nodeList);
    // The search for wrong types is slow, so it is skipped if there are none.
    if (!list.tree.isObject() || !(given.isNull() || given.isObject()) ||
        !std::all_of(nodes.begin(), nodes.end(), isRegular)) {
        checkTypes(checker, list);
    }
    if (!hasNodes) {
        if (checker.cause(list, {"nodeList"}) == nullptr) {
            checker.member(list, {"nodeList"}, Severity::Error, "no-nodes", "the list has no nodes",
                           "add them under \"nodeList\"");
        }
        return;
    }
    Owners owners;
    for (const std::string& id : nodes.getMemberNames()) {
        checkNode(checker, list, id, owners);
    }
    checkOwners(checker, list, owners);
}

} // namespace sysconfctl
