// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "cli/Suggestion.h"
#include "deployment/JsonValues.h"
#include "render/Text.h"

#include <rules/Roles.h>

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using located::Path;

const Json::Value& nodesOf(const SourceFile& list) {
    const Path nodeList = {"nodeList"};
    const Json::Value& nodes = valueAt(list.tree, nodeList);
    return nodes.isObject() ? nodes : Json::Value::nullSingleton();
}

void checkOwnNode(Checker& checker) {
    const SourceFile& list = checker.sources.nodeList;
    const std::string& id = checker.loaded().values().nodeId;
    if (!checker.sources.appConfig.loads || !list.loads || id.empty()) {
        return;
    }
    const Json::Value& nodes = nodesOf(list);
    if (list.document.find({"nodeList", id}) == nullptr) {
        std::vector<std::string> ids = nodes.getMemberNames();
        const std::string near = suggestion(id, {ids.begin(), ids.end()});
        checker.at(list, {"nodeList", id}, Severity::Error, "no-own-node",
                   fmt::format("the node list has no node \"{}\", on which this process runs: it "
                               "has no addresses, no role and no tenancy",
                               id),
                   near.empty() ? "add the node, or correct \"nodeId\""
                                : fmt::format("did you mean \"{}\"?", near));
        return;
    }
    const auto absent = [&](const Path& rest, const char* effect) {
        Path path = {"nodeList", id};
        path.insert(path.end(), rest.begin(), rest.end());
        const Json::Value& value = valueAt(list.tree, path);
        if (value.isNull() || (value.isString() && value.asString().empty())) {
            checker.at(list, path, Severity::Warning, "absent",
                       fmt::format("this node has no \"{}\": {}", rest.back(), effect));
        }
    };
    absent({"extAttr", "hostType"}, "it is no standby and answers for itself");
    absent({"extAttr", "HOSTID"}, "its host tag is empty");
    absent({"assignedToTenancy"}, "its tenancy is empty, and so is the product name");
}

void checkStandby(Checker& checker) {
    const Values& values = checker.loaded().values();
    if (values.hostType != "standby") {
        return;
    }
    const SourceFile& list = checker.sources.nodeList;
    std::vector<std::string> reachable;
    const auto& hosts = checker.sources.hostAddresses;
    for (const auto& [id, address] : checker.loaded().serviceAddresses()) {
        if (std::find(hosts.begin(), hosts.end(), address) != hosts.end()) {
            reachable.push_back(id);
        }
    }
    const Path role = {"nodeList", values.nodeId, "extAttr", "hostType"};
    if (reachable.empty()) {
        checker.at(list, role, Severity::Warning, "no-source",
                   "this standby stands in for nobody: the host carries the service address of no "
                   "other node, so it answers for itself",
                   checker.loaded().serviceAddresses().empty()
                       ? "no node of the list that is not a standby has a service address"
                       : "that is as it should be while its master runs");
    } else if (reachable.size() > 1) {
        checker.at(list, role, Severity::Warning, "several-sources",
                   fmt::format("this standby could stand in for {}: it does so for the first one",
                               joined(reachable, ", ")),
                   "a host should carry the service address of one other node");
    }
}

/// The nodes of the tenancy that can have a role.
class Candidates : public rules::Trace {
public:
    explicit Candidates(std::string_view role) : m_role(role) {}

    void report(const rules::TraceEvent& event) override {
        const auto* const filled = std::get_if<rules::SlotFilled>(&event);
        if (filled != nullptr && filled->slot == m_role) {
            ids.push_back(filled->value);
        }
    }
    // Of a node whose values have the wrong type, the type is what is to be corrected.
    bool resumesAfter(const rules::TypeMismatch& /*mismatch*/) override { return true; }

    std::vector<std::string> ids;

private:
    std::string_view m_role;
};

std::vector<std::string> candidates(const Checker& checker, bool master) {
    Candidates found(master ? rules::kMaster : rules::kStandby);
    std::string masterId;
    std::string standbyId;
    rules::findMasterAndStandby(rules::TracedNode(checker.sources.managerNodeList.tree, found),
                                checker.loaded().values().tenancy, masterId, standbyId);
    return std::move(found.ids);
}

void checkRole(Checker& checker, bool master) {
    const SourceFile& list = checker.sources.managerNodeList;
    const char* const role = master ? "master" : "standby";
    const std::vector<std::string> found = candidates(checker, master);
    const std::string& tenancy = checker.loaded().values().tenancy;
    if (found.empty()) {
        checker.member(
            list, {"nodeList"}, Severity::Warning, master ? "no-master" : "no-standby",
            fmt::format("the tenancy \"{}\" has no {} in the manager node list", tenancy, role),
            fmt::format("it has \"hostType\" \"{}\" and \"domain_node_type\" \"{}\"", role,
                        master ? "ACCESS_Master" : "ACCESS_Backup"));
    } else if (found.size() > 1) {
        checker.member(list, {"nodeList", found.back()}, Severity::Warning,
                       master ? "several-masters" : "several-standbys",
                       fmt::format("the tenancy \"{}\" has several nodes as {}: {}; the last one "
                                   "counts",
                                   tenancy, role, joined(found, ", ")),
                       "one node of a tenancy should have the role");
    }
}

std::string textAt(const Json::Value& node, const Path& path) {
    const Json::Value& value = valueAt(node, path);
    return value.isArray() || value.isObject() ? kindOf(value) : value.asString();
}

/// What both lists say of a node should be the same.
void checkBoth(Checker& checker, const std::string& id) {
    const SourceFile& local = checker.sources.nodeList;
    const SourceFile& manager = checker.sources.managerNodeList;
    const Json::Value& one = nodesOf(local)[id];
    const Json::Value& other = nodesOf(manager)[id];
    for (const Path& member : {Path{"assignedToTenancy"}, Path{"extAttr", "hostType"},
                               Path{"extAttr", "domain_node_type"}, Path{"extAttr", "HOSTID"}}) {
        const std::string here = textAt(one, member);
        const std::string there = textAt(other, member);
        if (here != there) {
            Path path = {"nodeList", id};
            path.insert(path.end(), member.begin(), member.end());
            checker.at(
                local, path, Severity::Warning,
                member.front() == "assignedToTenancy" ? "tenancy-mismatch" : "list-mismatch",
                fmt::format("\"{}\" of node \"{}\" is \"{}\" here, but \"{}\" in the manager "
                            "node list",
                            member.back(), id, here, there),
                "both lists should say the same");
        }
    }
    if (valueAt(one, {"IPAddresses"}) != valueAt(other, {"IPAddresses"})) {
        checker.at(
            local, {"nodeList", id, "IPAddresses"}, Severity::Warning, "list-mismatch",
            fmt::format("node \"{}\" has other addresses or tags in the manager node list", id),
            "both lists should say the same");
    }
}

void checkLists(Checker& checker) {
    const Json::Value& local = nodesOf(checker.sources.nodeList);
    const Json::Value& manager = nodesOf(checker.sources.managerNodeList);
    if (local.isNull() || manager.isNull()) {
        return;
    }
    for (const std::string& id : local.getMemberNames()) {
        if (manager.isMember(id)) {
            checkBoth(checker, id);
        } else {
            checker.member(checker.sources.nodeList, {"nodeList", id}, Severity::Warning,
                           "not-in-manager-list",
                           fmt::format("node \"{}\" is not in the manager node list", id),
                           "it can be neither master nor standby of its tenancy");
        }
    }
}

} // namespace

void checkDeployment(Checker& checker) {
    checkOwnNode(checker);
    checkStandby(checker);
    // Without the other two files the tenancy to look for is unknown.
    if (checker.sources.managerNodeList.loads && checker.sources.appConfig.loads &&
        checker.sources.nodeList.loads) {
        checkRole(checker, true);
        checkRole(checker, false);
    }
    checkLists(checker);
}

} // namespace sysconfctl
