#include "explain/ExplanationBuilder.h"

#include "render/Text.h"

#include <base/Exceptions.h>
#include <rules/NodeList.h>
#include <rules/Roles.h>

#include <fmt/format.h>

#include <map>
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

std::string internalServiceLabel(const std::string& /*slot*/) {
    return "internal_service, else maintenance";
}

/// The internal-service address of a node in a list, entry by entry.
void internalService(ExplanationBuilder& builder, const SourceFile& file, const std::string& id,
                     const std::string& why, LoadStep step) {
    if (builder.stopped(step) || !file.loads) {
        return;
    }
    Recorder trace;
    Quarncommon::runDroppingExceptions([&] {
        const rules::TracedNode list(file.tree, trace);
        rules::internalServiceAddress(rules::addressEntries(rules::nodeEntry(list, id)));
    });
    builder.walk(file, id, why, trace, internalServiceLabel);
}

void ownNode(ExplanationBuilder& builder) {
    builder.file(builder.sources.appConfig);
    builder.variable(builder.sources.instance);
    if (builder.sources.appConfig.loads) {
        const Spot spot = builder.processSpot({"nodeId"});
        if (!builder.stopped(LoadStep::RoleNodeId)) {
            builder.value(builder.sources.appConfig, spot.path);
        }
    }
}

void tenancy(ExplanationBuilder& builder) {
    ownNode(builder);
    const SourceFile& list = builder.sources.nodeList;
    const std::string& id = builder.values.roleNodeId;
    if (builder.file(list) && !builder.stopped(LoadStep::Tenancy) &&
        builder.node(list, id, "the own node")) {
        builder.value(list, {"nodeList", id, "assignedToTenancy"});
    }
}

/// What the search for master and standby decided about each node, in words.
class RoleVerdicts {
public:
    RoleVerdicts(std::string role, const std::string& winner)
        : m_role(std::move(role)), m_winner(winner) {}

    void operator()(const rules::Skipped& event) {
        const bool tenancy = event.why == rules::Skipped::Why::OtherTenancy;
        set(event.path, fmt::format("is no {}: {}", m_role,
                                    tenancy ? "other tenancy" : "other role or domain type"));
    }
    void operator()(const rules::SlotFilled& event) {
        set(event.path,
            event.slot != m_role      ? fmt::format("is no {}: other role or domain type", m_role)
            : event.value == m_winner ? "is the " + m_role
                                      : "would be, but a greater id of the same role counts");
    }
    void operator()(const rules::TypeMismatch& event) {
        set(event.path, "holds a value of a wrong type: the library looks no further");
    }
    template <typename Other>
    void operator()(const Other& /*event*/) {}

    std::string of(const std::string& id) const {
        const auto found = m_byId.find(id);
        return found != m_byId.end() ? found->second
                                     : "is not looked at: the search has ended before";
    }

private:
    void set(const rules::Path& path, std::string verdict) {
        if (path.size() > 1) {
            m_byId[path[1]] = std::move(verdict);
        }
    }

    std::string m_role;
    const std::string& m_winner;
    std::map<std::string, std::string> m_byId;
};

/// Every node of the manager node list, with what makes it a candidate for a role or not.
void candidates(ExplanationBuilder& builder, bool master) {
    const SourceFile& list = builder.sources.managerNodeList;
    const std::string role(master ? rules::kMaster : rules::kStandby);
    const std::string& winner = master ? builder.values.masterNodeId : builder.values.standbyNodeId;
    Recorder trace;
    Quarncommon::runDroppingExceptions([&] {
        std::string masterId;
        std::string standbyId;
        rules::findMasterAndStandby(rules::TracedNode(list.tree, trace), builder.values.tenancy,
                                    masterId, standbyId);
    });
    RoleVerdicts verdicts(role, winner);
    for (const rules::TraceEvent& event : trace.events) {
        std::visit(verdicts, event);
    }
    const located::Path nodeList = {"nodeList"};
    const Json::Value& nodes = valueAt(list.tree, nodeList);
    for (const std::string& id : nodes.isObject() ? nodes.getMemberNames() : List{}) {
        builder.step("node", fmt::format("node \"{}\" {}", id, verdicts.of(id)),
                     Spot{&list, {"nodeList", id}});
    }
    if (winner.empty()) {
        builder.because(
            master ? "no-master" : "no-standby",
            fmt::format("no node of the tenancy \"{}\" is its {}", builder.values.tenancy, role),
            master ? "a master has the host type \"master\" and the domain type "
                     "\"ACCESS_Master\""
                   : "a standby has the host type \"standby\" and the domain type "
                     "\"ACCESS_Backup\"");
    }
}

void roleAddress(ExplanationBuilder& builder, bool master) {
    tenancy(builder);
    // An empty tenancy is one like any other: that it is absent is no reason by itself.
    if (builder.explanation.reason && (builder.explanation.reason->name == "value-absent" ||
                                       builder.explanation.reason->name == "value-empty")) {
        builder.explanation.reason.reset();
    }
    const SourceFile& list = builder.sources.managerNodeList;
    if (!builder.file(list)) {
        return;
    }
    builder.stopped(LoadStep::Roles);
    candidates(builder, master);
    internalService(builder, list,
                    master ? builder.values.masterNodeId : builder.values.standbyNodeId,
                    master ? "the master" : "the standby", LoadStep::RoleIps);
}

} // namespace

bool explainProcess(ExplanationBuilder& builder) {
    Answer& answer = builder.explanation.answer;
    const std::string_view name = builder.explanation.query->name;
    if (name == "app-root") {
        const Variable& root = builder.sources.nodeList.variable;
        builder.variable(root);
        builder.because(root.value ? "variable-empty" : "variable-unset",
                        root.name + (root.value ? " is empty" : " is not set"),
                        "set it to the root of the local configuration");
        answer = textAnswer(root.text());
        return true;
    }
    const Field* const field = fieldOf(name);
    if (field == nullptr) {
        return false;
    }
    builder.process();
    if (builder.sources.appConfig.loads) {
        builder.value(builder.sources.appConfig, builder.processSpot(field->path).path);
    }
    answer =
        std::visit(Overloaded{
                       [&](std::string Values::*text) { return textAnswer(builder.values.*text); },
                       [&](int Values::*number) { return numberAnswer(builder.values.*number); },
                   },
                   field->member);
    return true;
}

bool explainNode(ExplanationBuilder& builder) {
    Answer& answer = builder.explanation.answer;
    const std::string_view name = builder.explanation.query->name;
    const Values& values = builder.values;
    if (name == "float-node-id") {
        builder.floatNode();
        answer = textAnswer(values.floatNodeId);
    } else if (name == "local-host-tag-name") {
        builder.floatNode();
        if (builder.file(builder.sources.nodeList) && !builder.stopped(LoadStep::NodeList) &&
            builder.node(builder.sources.nodeList, values.floatNodeId, "the float node")) {
            builder.value(builder.sources.nodeList,
                          {"nodeList", values.floatNodeId, "extAttr", "HOSTID"});
        }
        answer = textAnswer(values.hostTag);
    } else if (name == "product-name") {
        tenancy(builder);
        answer = textAnswer(values.tenancy);
    } else if (name == "local-internal-service-ip") {
        ownNode(builder);
        builder.file(builder.sources.nodeList);
        internalService(builder, builder.sources.nodeList, values.roleNodeId, "the own node",
                        LoadStep::LocalIp);
        answer = textAnswer(values.localInternalIp);
    } else if (name == "master-internal-service-ip") {
        roleAddress(builder, true);
        answer = textAnswer(values.masterInternalIp);
    } else if (name == "standby-internal-service-ip") {
        roleAddress(builder, false);
        answer = textAnswer(values.standbyInternalIp);
    } else {
        return false;
    }
    return true;
}

} // namespace sysconfctl
