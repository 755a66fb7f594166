// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "check/TextFaults.h"
#include "cli/Suggestion.h"
#include "deployment/JsonValues.h"
#include "deployment/Loaded.h"
#include "render/Text.h"

#include <rules/Roles.h>

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using located::Path;

class OwnNode {
public:
    OwnNode(Checker& checker, const View& view, std::string process)
        : m_checker(checker), m_view(view), m_app(*view.appConfig), m_list(*view.nodeList),
          m_process({"processes", std::move(process)}),
          m_id(textAt(m_app.tree(), with(m_process, {"nodeId"}))), m_node({"nodeList", m_id}) {}

    void run() {
        const Path nodeId = with(m_process, {"nodeId"});
        if (m_id.empty()) {
            return; // reported as such
        }
        if (!nodesOf(m_list).isMember(m_id)) {
            reportUnknown(nodeId);
            return;
        }
        checkAddresses(nodeId);
        if (textAt(m_list.tree(), with(m_node, {"extAttr", "hostType"})) == rules::kStandby) {
            checkStandby();
        }
        checkAttributes();
    }

private:
    void reportUnknown(const Path& nodeId) {
        const std::string sentence =
            fmt::format("process \"{}\" runs on node \"{}\", which the node list does not have",
                        m_process.back(), m_id);
        Finding* cause = m_checker.cause(m_list, m_node);
        cause = cause != nullptr ? cause : m_checker.cause(m_app, nodeId);
        if (cause == nullptr && nodesOf(m_list).empty()) {
            cause = m_checker.cause(m_list, {"nodeList"});
        }
        if (cause != nullptr) {
            cause->severity = Severity::Error;
            cause->consequences.push_back(sentence);
            return;
        }
        const std::vector<std::string> ids = nodesOf(m_list).getMemberNames();
        const std::string near = suggestion(m_id, {ids.begin(), ids.end()});
        const SourceFile* const manager = m_view.managerNodeList;
        const bool managerKnows =
            manager != nullptr && manager->loads && nodesOf(*manager).isMember(m_id);
        // If the manager node list has the node, the node list is incomplete.
        Finding& finding =
            managerKnows
                ? m_checker.at(m_list, m_node, Severity::Error, "no-own-node", sentence,
                               "add the node to the node list")
                : m_checker.at(m_app, nodeId, Severity::Error, "no-own-node", sentence,
                               near.empty() ? "add the node to the node list, or correct \"nodeId\""
                                            : fmt::format("did you mean \"{}\"?", near));
        finding.consequences.emplace_back("it has no addresses, no role and no tenancy");
        if (managerKnows) {
            Checker::relate(finding, m_app, nodeId, "the node id of the process");
            Checker::relate(finding, *manager, m_node, "the node in the manager node list");
        } else {
            Checker::relate(finding, m_list, {"nodeList"}, "the nodes of the list");
        }
    }

    std::set<std::string> addressesOf(const std::string& id) const {
        std::set<std::string> addresses;
        const Path member = {"IPAddresses"};
        const Json::Value& entries = valueAt(nodesOf(m_list)[id], member);
        if (entries.isArray()) {
            for (const Json::Value& entry : entries) {
                addresses.insert(textAt(entry, {"IP"}));
            }
        }
        return addresses;
    }

    void checkAddresses(const Path& nodeId) {
        const std::set<std::string> own = addressesOf(m_id);
        if (own.empty() || m_checker.cause(m_list, with(m_node, {"IPAddresses"})) != nullptr) {
            return;
        }
        bool reported = false;
        for (const char* group : {"IR", "wss"}) {
            const Path path = with(m_process, {group, "ip"});
            const std::string address = textAt(m_app.tree(), path);
            if (address.empty() || own.contains(address) || !isAddress(address) ||
                address.starts_with("127.") || address == "::1" ||
                m_checker.cause(m_app, path) != nullptr) {
                continue;
            }
            const std::string owner = ownerOf(address);
            if (owner.empty()) {
                Finding& finding = m_checker.at(
                    m_app, path, Severity::Warning, "foreign-address",
                    fmt::format("{} is not an address of node \"{}\", on which process \"{}\" runs",
                                address, m_id, m_process.back()),
                    "correct it, or add the address to the node");
                Checker::relate(finding, m_list, m_node, "the node");
            } else if (std::string_view(group) == "IR" && !reported) {
                reported = true;
                Finding& finding = m_checker.at(
                    m_app, nodeId, Severity::Error, "foreign-node",
                    fmt::format("process \"{}\" runs on node \"{}\", but {} is an address of node "
                                "\"{}\"",
                                m_process.back(), m_id, address, owner),
                    fmt::format("did you mean \"{}\"?", owner));
                Checker::relate(finding, m_app, path, "the address");
                Checker::relate(finding, m_list, {"nodeList", owner}, "its node");
            }
        }
    }

    std::string ownerOf(const std::string& address) const {
        for (const std::string& id : nodesOf(m_list).getMemberNames()) {
            if (addressesOf(id).contains(address)) {
                return id;
            }
        }
        return {};
    }

    void checkStandby() {
        const Path role = with(m_node, {"extAttr", "hostType"});
        const std::map<std::string, std::string> services = serviceAddressesOf(m_list);
        const auto& hosts = m_checker.inventory.hostAddresses;
        std::vector<std::string> reachable;
        for (const auto& [id, address] : services) {
            if (std::find(hosts.begin(), hosts.end(), address) != hosts.end()) {
                reachable.push_back(id);
            }
        }
        if (reachable.size() > 1) {
            m_checker.at(m_list, role, Severity::Error, "several-sources",
                         fmt::format("this standby could stand in for {}: it does so for the first "
                                     "one",
                                     joined(reachable, ", ")),
                         "a host should carry the service address of one other node");
        } else if (services.empty()) {
            checkSources(role);
        }
    }

    void checkSources(const Path& role) {
        const std::string sentence = fmt::format(
            "no node of the list has a service address for the standby \"{}\" to take over", m_id);
        Finding* fault = nullptr;
        for (const std::string& id : nodesOf(m_list).getMemberNames()) {
            fault = fault == nullptr ? m_checker.cause(m_list, {"nodeList", id}) : fault;
        }
        if (fault != nullptr) {
            fault->consequences.push_back(sentence);
            return;
        }
        const std::string master = masterInManagerList();
        Finding& finding = m_checker.at(
            m_list, master.empty() ? role : Path{"nodeList"},
            master.empty() ? Severity::Note : Severity::Error, "no-source",
            master.empty() ? sentence
                           : fmt::format("{}, but the manager node list has its master \"{}\"",
                                         sentence, master),
            master.empty() ? "" : "add the master to the node list");
        if (!master.empty()) {
            Checker::relate(finding, *m_view.managerNodeList, {"nodeList", master}, "the master");
        }
    }

    /// The master of this standby if only the manager node list has it.
    std::string masterInManagerList() const {
        const SourceFile* const manager = m_view.managerNodeList;
        if (manager == nullptr || !manager->loads) {
            return {};
        }
        const auto family = [](const std::string& domain) {
            return domain.substr(0, domain.find('_'));
        };
        const std::string tenancy = textAt(m_list.tree(), with(m_node, {"assignedToTenancy"}));
        const std::string domain =
            textAt(m_list.tree(), with(m_node, {"extAttr", "domain_node_type"}));
        for (const std::string& id : nodesOf(*manager).getMemberNames()) {
            const Json::Value& node = nodesOf(*manager)[id];
            if (textAt(node, {"assignedToTenancy"}) == tenancy &&
                textAt(node, {"extAttr", "hostType"}) == rules::kMaster &&
                family(textAt(node, {"extAttr", "domain_node_type"})) == family(domain)) {
                return id;
            }
        }
        return {};
    }

    void checkAttributes() {
        const auto absent = [&](const Path& rest, const char* sentence) {
            const Path path = with(m_node, rest);
            if (textAt(m_list.tree(), path).empty() && m_checker.cause(m_list, path) == nullptr) {
                m_checker.at(m_list, path, Severity::Note, "absent",
                             fmt::format(fmt::runtime(sentence), m_id));
            }
        };
        absent({"extAttr", "hostType"}, "node \"{}\" has no role: it answers for itself");
        absent({"extAttr", "HOSTID"}, "node \"{}\" has no host tag");
    }

    Checker& m_checker;
    const View& m_view;
    const SourceFile& m_app;
    const SourceFile& m_list;
    Path m_process;
    std::string m_id;
    Path m_node;
};

} // namespace

void checkOwnNodes(Checker& checker, const View& view) {
    if (view.appConfig == nullptr || view.nodeList == nullptr || !view.appConfig->loads ||
        !view.nodeList->loads) {
        return;
    }
    const Path member = {"processes"};
    const Json::Value& processes = valueAt(view.appConfig->tree(), member);
    if (!processes.isObject()) {
        return;
    }
    for (const std::string& id : processes.getMemberNames()) {
        OwnNode(checker, view, id).run();
    }
}

} // namespace sysconfctl
