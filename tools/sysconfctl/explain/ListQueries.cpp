// SPDX-License-Identifier: Apache-2.0
#include "explain/ExplanationBuilder.h"

#include "deployment/TypeMismatches.h"
#include "explain/NearMiss.h"
#include "render/Text.h"

#include <base/Exceptions.h>
#include <rules/ManagerNodes.h>
#include <rules/NodeList.h>
#include <rules/SourceNodeId.h>

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <variant>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using Quarncommon::runDroppingExceptions;

bool managerList(ExplanationBuilder& builder) {
    const SourceFile& list = builder.sources.managerNodeList;
    if (!list.variable.value) {
        builder.variable(list.variable);
        builder.because("variable-unset", "TOLM_ROOT is not set", "set it to the manager's root",
                        "no file is looked for");
        return false;
    }
    return builder.file(list);
}

std::string counted(std::size_t number, const char* what) {
    const std::string_view ending = number == 1 ? "" : what[0] == 'a' ? "es" : "s";
    return fmt::format("{} {}{}", number, what, ending);
}

struct NodeOutcome {
    std::string id;
    std::vector<std::string> addresses;
    bool skipped = false;
    std::string field;
    std::optional<rules::TypeMismatch> mismatch;
};

/// Groups the events by node, up to the one at which the rule ended.
class NodeOutcomes {
public:
    NodeOutcomes(const Recorder& trace, std::string field) : m_field(std::move(field)) {
        for (const rules::TraceEvent& event : trace.events) {
            std::visit(*this, event);
        }
    }

    void operator()(const rules::Collected& event) { m_current.addresses.push_back(event.value); }
    void operator()(const rules::ValueRead& event) {
        if (event.path.size() == 3 && event.path.back() == m_field) {
            m_current.field = event.text;
        }
    }
    void operator()(const rules::Skipped& event) {
        if (event.why == rules::Skipped::Why::OtherField) {
            m_current.skipped = true;
            finish(event.path);
        }
    }
    void operator()(const rules::NodeFinished& event) { finish(event.path); }
    void operator()(const rules::TypeMismatch& event) {
        m_current.mismatch = event;
        finish(event.path);
    }
    template <typename Other>
    void operator()(const Other& /*event*/) {}

    std::vector<NodeOutcome> nodes;

private:
    void finish(const rules::Path& path) {
        m_current.id = path.size() > 1 ? path[1] : "";
        nodes.push_back(std::exchange(m_current, {}));
    }

    std::string m_field;
    NodeOutcome m_current;
};

template <typename Describe>
void nodeSteps(ExplanationBuilder& builder, const SourceFile& list,
               const std::vector<NodeOutcome>& nodes, Describe describe) {
    for (const NodeOutcome& node : nodes) {
        if (node.mismatch) {
            builder.mismatch(list, *node.mismatch, "node");
            continue;
        }
        const bool any = !node.addresses.empty();
        builder.step({.kind = "node",
                      .outcome = node.skipped ? "skipped"
                                 : any        ? "selected"
                                              : "empty",
                      .sentence = named(node.id) + " " + describe(node),
                      .at = Spot{&list, {"nodeList", node.id}},
                      .facts = {.node = node.id, .found = node.field},
                      .weight = any ? Weight::Deciding : Weight::Detail});
    }
}

std::size_t selected(const std::vector<NodeOutcome>& nodes) {
    return static_cast<std::size_t>(
        std::count_if(nodes.begin(), nodes.end(),
                      [](const NodeOutcome& node) { return !node.addresses.empty(); }));
}

/// The values that the list has instead: "; the list has core, management".
std::string valuesOf(const std::vector<NodeOutcome>& nodes) {
    constexpr std::size_t kMost = 5;
    std::vector<std::string> values;
    for (const NodeOutcome& node : nodes) {
        const std::string value = named(node.field);
        if (!node.field.empty() && values.size() < kMost &&
            std::find(values.begin(), values.end(), value) == values.end()) {
            values.push_back(value);
        }
    }
    return values.empty() ? "" : "; the list has " + joined(values, ", ");
}

Answer byField(ExplanationBuilder& builder) {
    if (!managerList(builder)) {
        builder.conclude({}, {}, "the query returns -1");
        return {NoAnswer{}};
    }
    const SourceFile& list = builder.sources.managerNodeList;
    const std::string& field = builder.argument(0);
    const std::string& prefix = builder.argument(1);
    Recorder trace;
    std::list<std::string> addresses;
    const bool complete = runDroppingExceptions([&] {
        rules::appendAddresses(rules::TracedNode(list.tree(), trace), field, prefix, addresses);
    });
    const std::vector<NodeOutcome> nodes = NodeOutcomes(trace, field).nodes;
    nodeSteps(builder, list, nodes, [&](const NodeOutcome& node) {
        return node.skipped
                   ? fmt::format("is not selected: its {} is {}", named(field),
                                 node.field.empty() ? "not set" : named(node.field))
                   : fmt::format("is selected: {} ({})", counted(node.addresses.size(), "address"),
                                 joined(node.addresses, ", "));
    });
    const std::size_t chosen = selected(nodes);
    const std::string found = counted(addresses.size(), "address");
    const std::string sentence =
        chosen == 0 ? fmt::format("no node with addresses has {} beginning with {}{}", named(field),
                                  named(prefix), valuesOf(nodes))
        : prefix.empty() ? fmt::format("an empty prefix selects every node, whatever its {}: {}",
                                       named(field), found)
                         : fmt::format("{} of {} {} {} beginning with {}: {}", chosen,
                                       counted(nodes.size(), "node"), chosen == 1 ? "has" : "have",
                                       named(field), named(prefix), found);
    builder.conclude(chosen != 0 ? "nodes-selected" : "no-node", sentence, "the query returns -1");
    return complete ? Answer{List(addresses.begin(), addresses.end())} : Answer{NoAnswer{}};
}

Answer byTags(ExplanationBuilder& builder) {
    if (!managerList(builder)) {
        builder.conclude({}, {}, "the query returns -1");
        return {NoAnswer{}};
    }
    const SourceFile& list = builder.sources.managerNodeList;
    const std::set<std::string> tags(builder.explanation.arguments.begin(),
                                     builder.explanation.arguments.end());
    std::string capitals;
    for (const std::string& tag : tags) {
        if (rules::lowerCased(tag) != tag) {
            capitals = fmt::format("{} has capitals and matches nothing: tags are compared in "
                                   "lower case",
                                   named(tag));
            builder.step({.kind = "value",
                          .outcome = "capitals",
                          .sentence = capitals,
                          .weight = Weight::Deciding});
        }
    }
    Recorder trace;
    std::map<std::string, std::set<std::string>> nodes;
    const bool complete = runDroppingExceptions(
        [&] { rules::collectTaggedAddresses(rules::TracedNode(list.tree(), trace), tags, nodes); });
    const std::vector<NodeOutcome> outcomes = NodeOutcomes(trace, {}).nodes;
    nodeSteps(builder, list, outcomes, [&](const NodeOutcome& node) {
        const std::set<std::string>& found = nodes[node.id];
        return found.empty() ? std::string("has no address with these tags")
                             : fmt::format("has {} ({})", counted(found.size(), "address"),
                                           joined({found.begin(), found.end()}, ", "));
    });
    const std::size_t chosen = selected(outcomes);
    const std::string asked = joined({tags.begin(), tags.end()}, " or ");
    builder.conclude(!capitals.empty() ? "capitals"
                     : chosen != 0     ? "nodes-selected"
                                       : "no-node",
                     (chosen != 0 ? fmt::format("{} of {} {} an address tagged {}", chosen,
                                                counted(outcomes.size(), "node"),
                                                chosen == 1 ? "has" : "have", asked)
                                  : fmt::format("none of {} has an address tagged {}",
                                                counted(outcomes.size(), "node"), asked)) +
                         (capitals.empty() ? "" : "; " + capitals),
                     "the query returns -1");
    return complete ? library::groupedAnswer(nodes) : Answer{NoAnswer{}};
}

Answer source(ExplanationBuilder& builder) {
    const auto& services = builder.loaded.serviceAddresses();
    const std::string* const found = rules::sourceNode(services, builder.sources.hostAddresses);
    if (!builder.file(builder.sources.nodeList)) {
        builder.conclude({}, {}, "no node has a service address");
        return {NoAnswer{}};
    }
    builder.sourceSearch(Weight::Deciding);
    if (found != nullptr) {
        // A value of the wrong type after the matching node does not change the answer.
        builder.withdrawCause();
        builder.conclude("source-found",
                         fmt::format("this host carries {}, the service address of {}",
                                     services.at(*found), named(*found)));
        return textAnswer(*found);
    }
    builder.conclude("no-source",
                     services.empty() ? "no node that is not a standby has a service address"
                                      : "this host carries the service address of no node",
                     "this host carries no service address found before it");
    return {NoAnswer{}};
}

} // namespace

bool explainAllNodes(ExplanationBuilder& builder) {
    const std::string_view name = builder.explanation.query->name;
    if (name == "ip-addresses") {
        builder.explanation.answer = byField(builder);
    } else if (name == "all-float-ip") {
        builder.explanation.answer = byTags(builder);
    } else if (name == "source-node-id") {
        builder.explanation.answer = source(builder);
    } else {
        return false;
    }
    return true;
}

} // namespace sysconfctl
