#include "explain/Narrator.h"

#include "render/Text.h"

#include <rules/NodeList.h>
#include <rules/Roles.h>

#include <fmt/format.h>

#include <variant>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

/// A value that the loader takes from the entry of the process.
struct Field {
    std::string_view query;
    std::initializer_list<const char*> path;
    std::variant<std::string Values::*, int Values::*> member;
};

const Field* fieldOf(std::string_view query) {
    static const Field kFields[] = {
        {"localhost-ip-address", {"local", "ip"}, &Values::localhostIp},
        {"local-port", {"local", "port"}, &Values::localPort},
        {"maintenance-ip-address", {"IR", "ip"}, &Values::maintenanceIp},
        {"wss-ip-address", {"wss", "ip"}, &Values::wssIp},
        {"wss-port", {"wss", "port"}, &Values::wssPort},
        {"corba-port", {"CORBA", "port"}, &Values::corbaPort},
        {"corba-ssl-port", {"CORBA_SSL", "port"}, &Values::corbaSslPort},
    };
    for (const Field& field : kFields) {
        if (field.query == query) {
            return &field;
        }
    }
    return nullptr;
}

/// The internal-service address of a node in a list, entry by entry.
void internalService(Narrator& narrator, const SourceFile& file, const std::string& id,
                     const std::string& why, LoadStep step) {
    if (!narrator.stopped(step) && file.loads && narrator.node(file, id, why)) {
        narrator.entries(file, id, [](const Json::Value& entries, Slots& slots) {
            slots["internal_service, else maintenance"] =
                rules::internalServiceAddress(entries, "internal_service");
        });
    }
}

void ownNode(Narrator& narrator) {
    narrator.file(narrator.sources.appConfig);
    narrator.variable(narrator.sources.instance);
    if (narrator.sources.appConfig.loads) {
        const Spot spot = narrator.processSpot({"nodeId"});
        if (!narrator.stopped(LoadStep::RoleNodeId)) {
            narrator.value(narrator.sources.appConfig, spot.path);
        }
    }
}

void tenancy(Narrator& narrator) {
    ownNode(narrator);
    const SourceFile& list = narrator.sources.nodeList;
    const std::string& id = narrator.values.roleNodeId;
    if (narrator.file(list) && !narrator.stopped(LoadStep::Tenancy) &&
        narrator.node(list, id, "the own node")) {
        narrator.value(list, {"nodeList", id, "assignedToTenancy"});
    }
}

/// Every node of the manager node list, with what makes it a candidate for a role or not.
void candidates(Narrator& narrator, bool master) {
    const SourceFile& list = narrator.sources.managerNodeList;
    const std::string role = master ? "master" : "standby";
    const std::string& winner =
        master ? narrator.values.masterNodeId : narrator.values.standbyNodeId;
    const Json::Value& nodes = valueAt(list.tree, {"nodeList"});
    for (const std::string& id : nodes.isObject() ? nodes.getMemberNames() : List{}) {
        Json::Value alone;
        alone["nodeList"][id] = nodes[id];
        // No id can be this one's: a rule that names none leaves it.
        const std::string none = id + "?";
        std::string masterId = none;
        std::string standbyId = none;
        std::string verdict;
        try {
            rules::findMasterAndStandby(alone, narrator.values.tenancy, masterId, standbyId);
            const bool candidate = (master ? masterId : standbyId) == id;
            const bool sameTenancy =
                rules::tenancy(rules::nodeEntry(alone, id)) == narrator.values.tenancy;
            verdict = !candidate
                          ? fmt::format("is no {}: {}", role,
                                        sameTenancy ? "other role or domain type" : "other tenancy")
                      : id == winner ? fmt::format("is the {}", role)
                                     : "would be, but a greater id of the same role counts";
        } catch (const std::exception&) {
            verdict = "holds a value of a wrong type: the library looks no further";
        }
        narrator.step("node", fmt::format("node \"{}\" {}", id, verdict),
                      Spot{&list, {"nodeList", id}});
    }
    if (winner.empty()) {
        narrator.because(
            master ? "no-master" : "no-standby",
            fmt::format("no node of the tenancy \"{}\" is its {}", narrator.values.tenancy, role),
            master ? "a master has the host type \"master\" and the domain type "
                     "\"ACCESS_Master\""
                   : "a standby has the host type \"standby\" and the domain type "
                     "\"ACCESS_Backup\"");
    }
}

void roleAddress(Narrator& narrator, bool master) {
    tenancy(narrator);
    // An empty tenancy is one like any other: that it is absent is no reason by itself.
    if (narrator.told.reason && (narrator.told.reason->name == "value-absent" ||
                                 narrator.told.reason->name == "value-empty")) {
        narrator.told.reason.reset();
    }
    const SourceFile& list = narrator.sources.managerNodeList;
    if (!narrator.file(list)) {
        return;
    }
    narrator.stopped(LoadStep::Roles);
    candidates(narrator, master);
    internalService(narrator, list,
                    master ? narrator.values.masterNodeId : narrator.values.standbyNodeId,
                    master ? "the master" : "the standby", LoadStep::RoleIps);
}

} // namespace

bool explainProcess(Narrator& narrator) {
    Answer& answer = narrator.told.answer;
    const std::string_view name = narrator.told.query->name;
    if (name == "app-root") {
        const Variable& root = narrator.sources.nodeList.variable;
        narrator.variable(root);
        narrator.because(root.value ? "variable-empty" : "variable-unset",
                         root.name + (root.value ? " is empty" : " is not set"),
                         "set it to the root of the local configuration");
        answer = textAnswer(root.text());
        return true;
    }
    const Field* const field = fieldOf(name);
    if (field == nullptr) {
        return false;
    }
    narrator.process();
    if (narrator.sources.appConfig.loads) {
        narrator.value(narrator.sources.appConfig, narrator.processSpot(field->path).path);
    }
    answer =
        std::visit(Overloaded{
                       [&](std::string Values::*text) { return textAnswer(narrator.values.*text); },
                       [&](int Values::*number) { return numberAnswer(narrator.values.*number); },
                   },
                   field->member);
    return true;
}

bool explainNode(Narrator& narrator) {
    Answer& answer = narrator.told.answer;
    const std::string_view name = narrator.told.query->name;
    const Values& values = narrator.values;
    if (name == "float-node-id") {
        narrator.floatNode();
        answer = textAnswer(values.floatNodeId);
    } else if (name == "local-host-tag-name") {
        narrator.floatNode();
        if (narrator.file(narrator.sources.nodeList) && !narrator.stopped(LoadStep::NodeList) &&
            narrator.node(narrator.sources.nodeList, values.floatNodeId, "the float node")) {
            narrator.value(narrator.sources.nodeList,
                           {"nodeList", values.floatNodeId, "extAttr", "HOSTID"});
        }
        answer = textAnswer(values.hostTag);
    } else if (name == "product-name") {
        tenancy(narrator);
        answer = textAnswer(values.tenancy);
    } else if (name == "local-internal-service-ip") {
        ownNode(narrator);
        narrator.file(narrator.sources.nodeList);
        internalService(narrator, narrator.sources.nodeList, values.roleNodeId, "the own node",
                        LoadStep::LocalIp);
        answer = textAnswer(values.localInternalIp);
    } else if (name == "master-internal-service-ip") {
        roleAddress(narrator, true);
        answer = textAnswer(values.masterInternalIp);
    } else if (name == "standby-internal-service-ip") {
        roleAddress(narrator, false);
        answer = textAnswer(values.standbyInternalIp);
    } else {
        return false;
    }
    return true;
}

} // namespace sysconfctl
