// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "deployment/JsonValues.h"
#include "render/Text.h"

#include <rules/Roles.h>

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using located::Path;

struct Tenancy {
    std::vector<std::string> masters;
    std::vector<std::string> standbys;
};

std::map<std::string, Tenancy> tenanciesOf(const SourceFile& list) {
    std::map<std::string, Tenancy> tenancies;
    const Json::Value& nodes = nodesOf(list);
    for (auto node = nodes.begin(); node != nodes.end(); ++node) {
        if (!node->isObject()) {
            continue;
        }
        const std::string host = textAt(*node, {"extAttr", "hostType"});
        const std::string domain = textAt(*node, {"extAttr", "domain_node_type"});
        Tenancy& tenancy = tenancies[textAt(*node, {"assignedToTenancy"})];
        if (host == rules::kMaster && domain == "ACCESS_Master") {
            tenancy.masters.push_back(node.name());
        } else if (host == rules::kStandby && domain == "ACCESS_Backup") {
            tenancy.standbys.push_back(node.name());
        }
    }
    return tenancies;
}

/// About a value that decides who is master or standby, or about a missing node.
Finding* roleFault(Checker& checker, const SourceFile& list) {
    for (Finding& finding : checker.findings) {
        const std::string& pointer = finding.pointer;
        const bool decides = finding.name == "not-in-manager-list" ||
                             pointer.find("/extAttr") != std::string::npos ||
                             pointer.find("/assignedToTenancy") != std::string::npos ||
                             std::count(pointer.begin(), pointer.end(), '/') < 3;
        if (finding.file == &list && finding.severity != Severity::Note && decides) {
            return &finding;
        }
    }
    return nullptr;
}

void checkMissing(Checker& checker, const SourceFile& list, const std::string& name,
                  const Tenancy& tenancy, Finding* fault) {
    const std::string sentence =
        fmt::format("the tenancy \"{}\" has a standby, but no master", name);
    if (fault != nullptr) {
        fault->severity = Severity::Error;
        fault->consequences.push_back(sentence);
        return;
    }
    checker
        .member(list, {"nodeList", tenancy.standbys.front()}, Severity::Error, "no-master",
                sentence,
                "give its master \"hostType\" \"master\" and \"domain_node_type\" "
                "\"ACCESS_Master\"")
        .consequences.emplace_back("the internal-service address of the master is empty");
}

std::string someOf(const std::vector<std::string>& ids) {
    constexpr std::size_t kShown = 4;
    if (ids.size() <= kShown) {
        return joined(ids, ", ");
    }
    return fmt::format("{}, {} ({} more), {}", ids[0], ids[1], ids.size() - 3, ids.back());
}

void checkSeveral(Checker& checker, const SourceFile& list, const std::string& tenancy,
                  const std::vector<std::string>& ids, const char* role) {
    if (ids.size() < 2) {
        return;
    }
    const std::string sentence =
        fmt::format("the tenancy \"{}\" has several nodes as {}: {}; the last one wins", tenancy,
                    role, someOf(ids));
    for (const std::string& id : ids) {
        for (const Path& rest : {Path{"assignedToTenancy"}, Path{"extAttr"}}) {
            if (Finding* const cause = checker.cause(list, with({"nodeList", id}, rest))) {
                cause->severity = Severity::Error;
                cause->consequences.push_back(sentence);
                return;
            }
        }
    }
    const Path place = {"extAttr", "hostType"};
    Finding& finding =
        checker.at(list, with({"nodeList", ids.back()}, place), Severity::Error,
                   role == std::string_view("master") ? "several-masters" : "several-standbys",
                   sentence, "leave the role to one node of the tenancy");
    for (std::size_t i = 0; i + 1 < std::min<std::size_t>(ids.size(), 4); ++i) {
        Checker::relate(finding, list, with({"nodeList", ids[i]}, place),
                        fmt::format("node \"{}\"", ids[i]));
    }
}

} // namespace

void checkRoles(Checker& checker, const SourceFile& managerNodeList) {
    std::optional<Finding*> fault;
    for (const auto& [name, tenancy] : tenanciesOf(managerNodeList)) {
        if (tenancy.masters.empty() && !tenancy.standbys.empty()) {
            if (!fault) {
                fault = roleFault(checker, managerNodeList);
            }
            checkMissing(checker, managerNodeList, name, tenancy, *fault);
        }
        checkSeveral(checker, managerNodeList, name, tenancy.masters, "master");
        checkSeveral(checker, managerNodeList, name, tenancy.standbys, "standby");
    }
}

} // namespace sysconfctl
