// SPDX-License-Identifier: Apache-2.0
#include "check/AddressEntries.h"
#include "cli/Suggestion.h"
#include "deployment/JsonValues.h"
#include "deployment/TypeMismatches.h"

#include <rules/NodeList.h>
#include <rules/Roles.h>

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using located::Path;

bool isManager(const Checker& checker, const SourceFile& list) {
    const auto& views = checker.inventory.views;
    return std::any_of(views.begin(), views.end(),
                       [&](const View& view) { return view.managerNodeList == &list; });
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
    for (const TypeMismatch& mismatch : nodeListMismatches(list.tree())) {
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
                               describe(mismatch, list.tree()), effect),
                   "correct its type");
    }
}

/// Returns whether the string can be compared with other values.
bool checkText(Checker& checker, const SourceFile& list, const Path& path) {
    const Json::Value& value = valueAt(list.tree(), path);
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
    const std::string text = textAt(list.tree(), path);
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
    const std::string text = textAt(list.tree(), path);
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
    const std::string host = textAt(list.tree(), hostType);
    const std::string domain = textAt(list.tree(), domainType);
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
    if (list.tree().isObject()) {
        checker.unknownMembers(list, {}, {"nodeList"});
    }
    const bool hasNodes = nodes.isObject() && !nodes.empty();
    const Path nodeList = {"nodeList"};
    const Json::Value& given = valueAt(list.tree(), nodeList);
    // The search for wrong types is slow, so it is skipped if there are none.
    if (!list.tree().isObject() || !(given.isNull() || given.isObject()) ||
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
