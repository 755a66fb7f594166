// SPDX-License-Identifier: Apache-2.0
#include "explain/ExplanationBuilder.h"

#include "deployment/TypeMismatches.h"
#include "explain/NearMiss.h"
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

void concludeFloatNode(ExplanationBuilder& builder) {
    const Values& values = builder.values;
    const std::string self = named(values.nodeId);
    if (builder.standsIn()) {
        const auto& services = builder.loaded.serviceAddresses();
        const auto source = services.find(values.floatNodeId);
        builder.conclude("stands-in",
                         fmt::format("{} is a standby and this host carries {}, the service "
                                     "address of {}, so it answers for {}",
                                     self, source != services.end() ? source->second : "",
                                     named(values.floatNodeId), named(values.floatNodeId)),
                         fmt::format("{} answers for {}", self, named(values.floatNodeId)));
        return;
    }
    const std::string itself = self + " answers for itself";
    if (values.hostType == rules::kStandby) {
        const bool none = builder.loaded.serviceAddresses().empty();
        builder.conclude("no-source",
                         fmt::format("{} is a standby, and {}, so it answers for itself", self,
                                     none ? "no other node has a service address"
                                          : "this host carries the service address of no other "
                                            "node"),
                         itself);
    } else {
        builder.conclude(
            "own-node",
            values.hostType.empty()
                ? fmt::format("{} has no hostType, so it is not a standby and answers for "
                              "itself",
                              self)
                : fmt::format("{} is not a standby, its hostType is {}, so it answers for "
                              "itself",
                              self, named(values.hostType)),
            values.nodeId.empty() ? "" : itself);
    }
}

void hostTag(ExplanationBuilder& builder) {
    const std::string& id = builder.values.floatNodeId;
    const SourceFile& list = builder.sources.nodeList;
    const located::Path path = {"nodeList", id, "extAttr", "HOSTID"};
    builder.floatNode(false);
    builder.explanation.moment = Moment::Load;
    if (!builder.hasCause() && builder.file(list)) {
        const Recorder none;
        if (!builder.loaded.hasRead(LoadStep::NodeList, path)) {
            builder.stopped(LoadStep::NodeList);
        } else if (builder.node(list, id, none)) {
            builder.value(list, path);
        }
    }
    builder.conclude("read", fmt::format("HOSTID of {} is {}", named(id), builder.values.hostTag));
}

/// Returns whether the process's own node has one.
bool tenancy(ExplanationBuilder& builder) {
    const SourceFile& list = builder.sources.nodeList;
    const std::string& id = builder.values.roleNodeId;
    const located::Path path = {"nodeList", id, "assignedToTenancy"};
    const Recorder none;
    if (!builder.ownNode(LoadStep::RoleNodeId) || !builder.file(list)) {
        return false;
    }
    if (!builder.loaded.hasRead(LoadStep::Tenancy, path)) {
        builder.stopped(LoadStep::Tenancy);
        return false;
    }
    return builder.node(list, id, none) && builder.value(list, path, Weight::Deciding);
}

/// @param role "the master"; empty for the process's own node.
/// @param also More about the role, for the verdict.
void internalService(ExplanationBuilder& builder, const SourceFile& file, const std::string& id,
                     const std::string& role, const std::string& address,
                     const std::string& also = {}) {
    Recorder trace;
    Quarncommon::runDroppingExceptions([&] {
        const rules::TracedNode list(file.tree(), trace);
        rules::internalServiceAddress(rules::addressEntries(rules::nodeEntry(list, id)));
    });
    const WalkedEntries walked =
        builder.walk(file, id, trace, [](const std::string& slot) { return slot; },
                     {{std::string(rules::kInternalServiceTag), false},
                      {std::string(rules::kMaintenanceTag), false}});
    const std::string tag(rules::kInternalServiceTag);
    const std::string who = named(id) + (role.empty() ? "" : ", " + role);
    const std::string whose = who + (role.empty() ? "" : ",");
    std::string_view name = "tag-found";
    std::string sentence =
        address.empty()
            ? fmt::format("the first entry of {} tagged {} has no \"IP\"", whose, tag)
            : fmt::format("{} is the first address of {} tagged {}", address, whose, tag);
    if (walked.from.empty()) {
        name = "tag-not-found";
        builder.notFound(id, "one of these tags", file);
        sentence = fmt::format("no {} and no maintenance tag on {}", tag, who);
    } else if (!walked.from.contains(tag)) {
        name = "fallback";
        sentence = fmt::format("no {} tag on {}; falls back to its last maintenance address{}", tag,
                               who, address.empty() ? ", which is empty" : "");
    } else if (address.empty()) {
        name = "entry-without-address";
    }
    if (walked.hint) {
        builder.decideAt(walked.hint->step);
        builder.conclude(walked.hint->name, clauses(sentence, walked.hint->sentence), {},
                         walked.hint->advice);
        return;
    }
    const bool found = name == "tag-found" || name == "fallback";
    builder.conclude(name, clauses(sentence, also), {},
                     found ? "" : "tag an address of the node with it, or give it an \"IP\"");
}

struct Candidate {
    std::string_view outcome = "not-reached";
    std::string sentence = "is not reached";
    std::string_view by;
    std::string expected;
    std::string found;
    std::optional<rules::TypeMismatch> mismatch;
};

bool almost(std::string_view text, std::string_view meant) {
    return text != meant && nearestName(std::string(text), {std::string(meant)}) == meant;
}

class Candidates {
public:
    Candidates(std::string_view role, const Values& values)
        : m_role(role), m_master(role == rules::kMaster),
          m_winner(m_master ? values.masterNodeId : values.standbyNodeId),
          m_tenancy(values.tenancy) {}

    void operator()(const rules::ValueRead& event) { m_read = event; }
    void operator()(const rules::RoleCompared& event) { compare(event); }
    void operator()(const rules::Skipped& event) {
        if (event.why == rules::Skipped::Why::OtherTenancy) {
            set(event.path,
                {"other-tenancy",
                 fmt::format("is of tenancy {}, not {}", named(m_read.text), named(m_tenancy)),
                 {},
                 m_tenancy,
                 m_read.text,
                 {}});
        }
    }
    void operator()(const rules::SlotFilled& event) {
        if (event.slot == m_role) {
            set(event.path,
                event.value == m_winner
                    ? Candidate{"taken", "is the " + m_role, {}, {}, {}, {}}
                    : Candidate{"overridden",
                                fmt::format("is overridden by order: the greatest id of a {} wins, "
                                            "{}",
                                            m_role, named(m_winner)),
                                "order",
                                {},
                                {},
                                {}});
        }
    }
    void operator()(const rules::TypeMismatch& event) {
        if (event.path.size() > 1) {
            set(event.path, {"wrong-type", "has a value of the wrong type", {}, {}, {}, event});
        }
    }
    template <typename Other>
    void operator()(const Other& /*event*/) {}

    Candidate of(const std::string& id) const {
        const auto found = m_byId.find(id);
        return found != m_byId.end() ? found->second : Candidate();
    }

private:
    void compare(const rules::RoleCompared& event) {
        const std::string_view domain =
            m_master ? rules::kMasterDomainType : rules::kStandbyDomainType;
        const bool role = event.hostType == m_role;
        const bool type = event.domainType == domain;
        if (role && type) {
            return;
        }
        const bool near = (role || almost(event.hostType, m_role)) &&
                          (type || almost(event.domainType, domain) || event.domainType.empty());
        const std::string expected = role ? std::string(domain) : m_role;
        const std::string found = role ? event.domainType : event.hostType;
        const std::string member = role ? "domain_node_type" : "hostType";
        set(event.path, {near && event.role.empty() ? "near-miss" : "other-role",
                         fmt::format("is not a {}: its {} is {}, not {}", m_role, member,
                                     found.empty() ? "not set" : named(found), expected),
                         {},
                         expected,
                         found,
                         {}});
    }

    void set(const rules::Path& path, Candidate candidate) {
        if (path.size() > 1) {
            m_byId[path[1]] = std::move(candidate);
        }
    }

    std::string m_role;
    bool m_master;
    const std::string& m_winner;
    const std::string& m_tenancy;
    rules::ValueRead m_read;
    std::map<std::string, Candidate> m_byId;
};

located::Path placeOf(const std::string& id, const Candidate& candidate) {
    if (candidate.mismatch) {
        return candidate.mismatch->path;
    }
    located::Path path = {"nodeList", id};
    if (candidate.outcome == "near-miss") {
        const bool domain = candidate.expected == rules::kMasterDomainType ||
                            candidate.expected == rules::kStandbyDomainType;
        path.insert(path.end(), {"extAttr", domain ? "domain_node_type" : "hostType"});
    }
    return path;
}

void candidateStep(ExplanationBuilder& builder, const std::string& id, const Candidate& candidate,
                   Weight weight) {
    const SourceFile& list = builder.sources.managerNodeList;
    const located::Path path = placeOf(id, candidate);
    const bool there = list.document.find(path) != nullptr;
    builder.step({.kind = "node",
                  .outcome = candidate.outcome,
                  .sentence = named(id) + " " + candidate.sentence,
                  .at = Spot{&list, there ? path : located::Path{"nodeList", id}},
                  .facts = {.node = id,
                            .expected = candidate.expected,
                            .found = candidate.found,
                            .by = candidate.by},
                  .weight = weight});
}

void concludeNoTenancy(ExplanationBuilder& builder, const std::vector<std::string>& tenancies) {
    const SourceFile& list = builder.sources.managerNodeList;
    const Values& values = builder.values;
    const std::string near = nearestName(values.tenancy, tenancies);
    const std::string sentence =
        fmt::format("no node of the {} is of tenancy {}{}", list.title, named(values.tenancy),
                    near.empty() ? "" : fmt::format("; did you mean {}?", named(near)));
    builder.step({.kind = "node",
                  .outcome = "no-tenancy",
                  .sentence = sentence,
                  .at = Spot{&builder.sources.nodeList,
                             {"nodeList", values.roleNodeId, "assignedToTenancy"}},
                  .weight = Weight::Deciding});
    builder.because("no-tenancy", sentence,
                    "correct assignedToTenancy of this node, or that "
                    "of the nodes in the list");
}

/// Returns the other nodes that could have the role, in words.
std::string candidates(ExplanationBuilder& builder, std::string_view role) {
    const SourceFile& list = builder.sources.managerNodeList;
    const Values& values = builder.values;
    Recorder trace;
    Quarncommon::runDroppingExceptions([&] {
        std::string masterId;
        std::string standbyId;
        rules::findMasterAndStandby(rules::TracedNode(list.tree(), trace), values.tenancy, masterId,
                                    standbyId);
    });
    Candidates verdicts(role, values);
    for (const rules::TraceEvent& event : trace.events) {
        std::visit(verdicts, event);
    }
    const bool found =
        !(role == rules::kMaster ? values.masterNodeId : values.standbyNodeId).empty();
    const located::Path nodeList = {"nodeList"};
    const Json::Value& nodes = valueAt(list.tree(), nodeList);
    std::size_t inTenancy = 0;
    std::vector<std::string> others;
    std::vector<std::string> tenancies;
    for (const std::string& id : nodes.isObject() ? nodes.getMemberNames() : List{}) {
        const Candidate candidate = verdicts.of(id);
        const bool isCandidate =
            candidate.outcome != "other-tenancy" && candidate.outcome != "not-reached";
        inTenancy += isCandidate ? 1 : 0;
        if (candidate.outcome == "overridden") {
            others.push_back(named(id));
        } else if (candidate.outcome == "other-tenancy") {
            tenancies.push_back(candidate.found);
        }
        const bool deciding = isCandidate && (!found || candidate.outcome != "other-role");
        candidateStep(builder, id, candidate, deciding ? Weight::Deciding : Weight::Detail);
        if (!found && candidate.outcome == "near-miss") {
            builder.because("near-miss-role", named(id) + " " + candidate.sentence,
                            fmt::format("write \"{}\"", candidate.expected));
        }
    }
    if (found) {
        return others.empty() ? ""
                              : fmt::format("{} could be the {} too; the greatest id wins",
                                            joined(others, ", "), role);
    }
    if (inTenancy == 0) {
        concludeNoTenancy(builder, tenancies);
        return {};
    }
    const bool master = role == rules::kMaster;
    const std::string needed =
        fmt::format("hostType \"{}\" and domain_node_type \"{}\"", role,
                    master ? rules::kMasterDomainType : rules::kStandbyDomainType);
    builder.step({.kind = "node",
                  .outcome = master ? "no-master" : "no-standby",
                  .sentence = fmt::format("a {} has {}", role, needed),
                  .weight = Weight::Deciding});
    builder.because(master ? "no-master" : "no-standby",
                    fmt::format("no node of tenancy {} is its {}", named(values.tenancy), role),
                    fmt::format("if there should be one, give the node {}", needed));
    return {};
}

void roleAddress(ExplanationBuilder& builder, std::string_view role) {
    const bool master = role == rules::kMaster;
    const Values& values = builder.values;
    const SourceFile& list = builder.sources.managerNodeList;
    builder.explanation.moment = Moment::Load;
    const std::string& id = master ? values.masterNodeId : values.standbyNodeId;
    const std::string& address = master ? values.masterInternalIp : values.standbyInternalIp;
    std::string also;
    // An empty tenancy is valid, so it is not the cause if the role was found.
    if (!tenancy(builder) && !id.empty()) {
        builder.withdrawCause();
    }
    if (!builder.hasCause() && builder.file(list) && !builder.stopped(LoadStep::Roles)) {
        also = candidates(builder, role);
    }
    const Stop* const stop = builder.loaded.stop(LoadStep::RoleIps);
    const bool ended = stop != nullptr && (stop->path.size() < 2 || stop->path[1] != id);
    if (builder.hasCause() || (ended && builder.stopped(LoadStep::RoleIps))) {
        builder.conclude({}, {}, fmt::format("the {} is unknown", role));
        return;
    }
    internalService(builder, list, id, fmt::format("the {}", role), address, also);
}

void localInternalService(ExplanationBuilder& builder) {
    const Values& values = builder.values;
    const SourceFile& list = builder.sources.nodeList;
    builder.explanation.moment = Moment::Load;
    if (builder.ownNode(LoadStep::RoleNodeId) && builder.file(list)) {
        internalService(builder, list, values.roleNodeId, "", values.localInternalIp);
    } else {
        builder.conclude({}, {}, "no address is looked for");
    }
}

} // namespace

bool explainNode(ExplanationBuilder& builder) {
    Answer& answer = builder.explanation.answer;
    const std::string_view name = builder.explanation.query->name;
    const Values& values = builder.values;
    if (name == "float-node-id") {
        builder.floatNode(true);
        builder.explanation.moment = Moment::Load;
        concludeFloatNode(builder);
        answer = textAnswer(values.floatNodeId);
    } else if (name == "local-host-tag-name") {
        hostTag(builder);
        answer = textAnswer(values.hostTag);
    } else if (name == "product-name") {
        builder.explanation.moment = Moment::Load;
        tenancy(builder);
        builder.conclude("read", fmt::format("assignedToTenancy of {} is {}",
                                             named(values.roleNodeId), values.tenancy));
        answer = textAnswer(values.tenancy);
    } else if (name == "local-internal-service-ip") {
        localInternalService(builder);
        answer = textAnswer(values.localInternalIp);
    } else if (name == "master-internal-service-ip") {
        roleAddress(builder, rules::kMaster);
        answer = textAnswer(values.masterInternalIp);
    } else if (name == "standby-internal-service-ip") {
        roleAddress(builder, rules::kStandby);
        answer = textAnswer(values.standbyInternalIp);
    } else {
        return false;
    }
    return true;
}

} // namespace sysconfctl
