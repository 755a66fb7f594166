// SPDX-License-Identifier: Apache-2.0
// Steps of the search for the float node.

#include "explain/ExplanationBuilder.h"

#include "explain/NearMiss.h"
#include "render/Text.h"

#include <base/Exceptions.h>
#include <rules/NodeList.h>
#include <rules/Roles.h>
#include <rules/SourceNodeId.h>

#include <fmt/format.h>

#include <map>
#include <variant>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

std::map<std::string, located::Path> servicePaths(const Recorder& trace) {
    std::map<std::string, located::Path> paths;
    for (const rules::TraceEvent& event : trace.events) {
        if (const auto* const filled = std::get_if<rules::SlotFilled>(&event)) {
            paths[filled->slot] = filled->path;
        }
    }
    return paths;
}

} // namespace

void ExplanationBuilder::sourceSearch(Weight weight) {
    const SourceFile& list = sources.nodeList;
    bool found = false;
    Recorder trace;
    std::map<std::string, std::string> services;
    Quarncommon::runDroppingExceptions(
        [&] { rules::collectServiceAddresses(rules::TracedNode(list.tree(), trace), services); });
    const std::map<std::string, located::Path> paths = servicePaths(trace);
    rules::sourceNode(services, sources.hostAddresses, &trace);
    for (const rules::TraceEvent& event : trace.events) {
        if (const auto* const compared = std::get_if<rules::SourceCompared>(&event)) {
            const auto at = paths.find(compared->nodeId);
            found = found || compared->carried;
            step({.kind = "host",
                  .outcome = compared->carried ? "carried" : "not-carried",
                  .sentence = fmt::format("this host {} {}, the service address of {}",
                                          compared->carried ? "carries" : "does not carry",
                                          compared->address.empty() ? "an empty text"
                                                                    : named(compared->address),
                                          named(compared->nodeId)),
                  .at = at != paths.end() ? std::optional(Spot{&list, at->second}) : std::nullopt,
                  .facts = {.node = compared->nodeId, .address = compared->address},
                  .weight = compared->carried ? Weight::Decisive : weight});
        } else if (const auto* const wrong = std::get_if<rules::TypeMismatch>(&event)) {
            mismatch(list, *wrong, "node");
        }
    }
    step({.kind = "host",
          .outcome = "read",
          .sentence = "the addresses of this host: " +
                      joined({sources.hostAddresses.begin(), sources.hostAddresses.end()}, ", "),
          .weight = found ? Weight::Detail : weight});
}

bool ExplanationBuilder::isStandby(bool asked) {
    const located::Path entry = {"nodeList", values.nodeId};
    const located::Path role = {"nodeList", values.nodeId, "extAttr", "hostType"};
    const std::string self = named(values.nodeId);
    if (!loaded.hasRead(LoadStep::NodeList, role)) {
        if (asked) {
            stopped(LoadStep::NodeList);
        }
        return false;
    }
    if (sources.nodeList.document.find(entry) == nullptr) {
        const Recorder none;
        if (asked) {
            node(sources.nodeList, values.nodeId, none);
        }
        return false;
    }
    const bool there = sources.nodeList.document.find(role) != nullptr;
    const auto spot = there ? std::optional(Spot{&sources.nodeList, role}) : std::nullopt;
    const std::string& type = values.hostType;
    const bool standby = type == rules::kStandby;
    const bool almost = !standby && !type.empty() && type != rules::kMaster &&
                        nearestName(type, {std::string(rules::kMaster),
                                           std::string(rules::kStandby)}) == rules::kStandby;
    const std::string sentence =
        almost ? fmt::format("hostType of {} is {}, which is not \"standby\" (letter case is "
                             "compared too)",
                             self, named(type))
        : type.empty() ? fmt::format("hostType of {} is not set, so it is not a standby", self)
        : standby      ? fmt::format("hostType of {} is standby", self)
                  : fmt::format("hostType of {} is {}, so it is not a standby", self, named(type));
    step({.kind = "node",
          .outcome = standby  ? "standby"
                     : almost ? "near-miss"
                              : "no-standby",
          .sentence = sentence,
          .at = spot,
          .facts = {.node = values.nodeId, .expected = "standby", .found = type},
          .weight = asked || standby || almost ? Weight::Deciding : Weight::Detail});
    if (almost && asked) {
        because("near-miss-role", sentence, "write \"standby\"");
    } else if (asked && !standby) {
        decisive();
    }
    return standby;
}

void ExplanationBuilder::floatNode(bool asked) {
    if (!asked) {
        explanation.moment = Moment::NodeAtLoad;
    }
    if (!ownNode(LoadStep::AppConfig) || !file(sources.nodeList) || !isStandby(asked)) {
        return;
    }
    sourceSearch(asked || standsIn() ? Weight::Deciding : Weight::Detail);
    if (asked && !standsIn()) {
        decisive(); // none of the host's addresses matches
    }
}

} // namespace sysconfctl
