#include "explain/ExplanationBuilder.h"

#include "render/Text.h"

#include <QuarnCommonUtils.h>
#include <base/Exceptions.h>
#include <rules/LocalIPByUsage.h>
#include <rules/NodeIPs.h>
#include <rules/NodeList.h>
#include <rules/SlotLists.h>

#include <fmt/format.h>

#include <variant>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using Quarncommon::runDroppingExceptions;

using rules::kSouthboundFamily;
constexpr const char* kOwn = "the own node, whatever it stands in for";
constexpr const char* kFloat = "the float node";

/// Runs a rule over the node list with a trace; what it found before a value of the wrong type
/// stays.
template <typename Rule>
void traced(const ExplanationBuilder& builder, Recorder& trace, Rule rule) {
    runDroppingExceptions([&] { rule(rules::TracedNode(builder.sources.nodeList.tree, trace)); });
}

std::string sameLabel(const std::string& slot) {
    return slot;
}

std::string byTag(ExplanationBuilder& builder, const std::string& usage) {
    const std::string tag = rules::lowerCased(usage);
    const bool own = tag == rules::kMaintenanceTag;
    builder.floatNode();
    const std::string& id =
        rules::nodeForTag(tag, builder.values.nodeId, builder.values.floatNodeId);
    Recorder trace;
    std::string address;
    traced(builder, trace, [&](const rules::TracedNode& list) {
        address = rules::addressByTag(rules::addressEntries(rules::nodeEntry(list, id)), tag);
    });
    builder.walk(builder.sources.nodeList, id, own ? kOwn : kFloat, trace, sameLabel);
    return address;
}

void maintenanceFallback(ExplanationBuilder& builder, const std::string& without) {
    const Spot spot = builder.processSpot({"IR", "ip"});
    const bool there = builder.sources.appConfig.document.find(spot.path) != nullptr;
    builder.fallback(
        fmt::format("without {}, the maintenance address of this process is the "
                    "answer: {}",
                    without,
                    builder.values.maintenanceIp.empty() ? "none" : builder.values.maintenanceIp),
        there ? std::optional(spot) : std::nullopt);
}

struct Numbered {
    rules::SlotMap numbers;
    std::string service;
    std::string service2;
};

/// What the rule collects, also when it ends early.
Numbered numbered(const ExplanationBuilder& builder, const std::string& prefix, Recorder& trace) {
    Numbered found;
    traced(builder, trace, [&](const rules::TracedNode& list) {
        rules::collectByNumber(
            rules::addressEntries(rules::nodeEntry(list, builder.values.floatNodeId)), prefix,
            found.numbers, found.service, found.service2);
    });
    return found;
}

/// Numbered slots by their numbers, service addresses by their tags.
std::string numberLabel(const std::string& slot) {
    return slot == rules::kServiceTag || slot == rules::kService2Tag ? slot : "number " + slot;
}

/// Where each slot of the list is, in the order of the slots' numbers.
void tellSlots(ExplanationBuilder& builder, const Recorder& trace, const WalkedEntries& walked,
               SlotLabel label) {
    std::map<int, rules::SlotPlaced> placed;
    for (const rules::TraceEvent& event : trace.events) {
        if (const auto* const slot = std::get_if<rules::SlotPlaced>(&event)) {
            placed.emplace(std::stoi(slot->slot), *slot);
        }
    }
    for (const auto& [number, slot] : placed) {
        if (slot.value.empty()) {
            continue;
        }
        const std::string name = label(slot.slot);
        const auto from = walked.from.find(name);
        const auto spot = [&] {
            return Spot{&builder.sources.nodeList,
                        {"nodeList", builder.values.floatNodeId, "IPAddresses",
                         walked.entries.at(from->second).step}};
        };
        builder.step("slot",
                     fmt::format("slot {} of the list has {}: {}", slot.position, name, slot.value),
                     from != walked.from.end() ? std::optional(spot()) : std::nullopt);
    }
}

/// What a slot list falls back to, if it does.
void tellFallback(ExplanationBuilder& builder, const Recorder& trace, const char* family) {
    for (const rules::TraceEvent& event : trace.events) {
        const auto* const fallback = std::get_if<rules::FallbackUsed>(&event);
        if (fallback == nullptr) {
            continue;
        }
        if (fallback->to == rules::FallbackUsed::To::Maintenance) {
            maintenanceFallback(builder, fmt::format("a {} or service address", family));
        } else {
            builder.fallback(
                fmt::format("without a {} address, the service addresses are the answer", family));
        }
    }
}

std::string north(ExplanationBuilder& builder) {
    builder.floatNode();
    Recorder trace;
    const Numbered found = numbered(builder, std::string(rules::kNorthboundFamily), trace);
    std::string list = rules::northSlotList(found.numbers, found.service, found.service2,
                                            builder.values.maintenanceIp, &trace);
    const WalkedEntries walked = builder.walk(builder.sources.nodeList, builder.values.floatNodeId,
                                              kFloat, trace, numberLabel);
    tellSlots(builder, trace, walked, numberLabel);
    tellFallback(builder, trace, "northbound");
    return list;
}

/// The tag of a southbound slot.
std::string southboundLabel(const std::string& slot) {
    return std::string(kSouthboundFamily) + (slot == "1" ? "" : slot);
}

std::string south(ExplanationBuilder& builder) {
    builder.floatNode();
    const std::string& id = builder.values.floatNodeId;
    Recorder trace;
    rules::SlotMap bySlot;
    rules::TagWalk seen;
    traced(builder, trace, [&](const rules::TracedNode& list) {
        rules::collectSouthbound(rules::addressEntries(rules::nodeEntry(list, id)),
                                 kSouthboundFamily, bySlot, seen);
    });
    std::string list = rules::southSlotList(bySlot, seen, builder.values.maintenanceIp, &trace);
    const WalkedEntries walked =
        builder.walk(builder.sources.nodeList, id, kFloat, trace, sameLabel);
    tellSlots(builder, trace, walked, southboundLabel);
    tellFallback(builder, trace, "southbound");
    return list;
}

/// The keys that the caller's map has: all southbound ones, which are created empty, and its own.
Answer byWholeTag(ExplanationBuilder& builder) {
    builder.floatNode();
    const std::string& id = builder.values.floatNodeId;
    std::map<std::string, std::string> tags;
    for (const std::string& tag : builder.explanation.arguments) {
        tags[tag];
    }
    const auto slotFor = [&](const std::string& tag) {
        const bool key = rules::southboundSlot(tag, kSouthboundFamily) != 0;
        const auto slot = tags.find(tag);
        return slot != tags.end() ? &slot->second : key ? &tags[tag] : nullptr;
    };
    Recorder trace;
    rules::TagWalk seen;
    traced(builder, trace, [&](const rules::TracedNode& list) {
        rules::collectByTag(rules::addressEntries(rules::nodeEntry(list, id)), slotFor, seen);
    });
    rules::addServices(seen, tags, &trace);
    builder.walk(builder.sources.nodeList, id, kFloat, trace, sameLabel);
    return library::taggedAnswer(tags, builder.explanation.arguments);
}

Answer protocols(ExplanationBuilder& builder) {
    std::list<std::string> pieces;
    const std::string list = south(builder);
    QuarnCommonUtils::split(list, ";", pieces);
    const int family = rules::protocolFamily(pieces);
    builder.step("value",
                 fmt::format("the southbound list is {}: {}", list.empty() ? "empty" : list,
                             family == 0   ? "no address with a \":\", which counts as IPv4"
                             : family == 1 ? "addresses with a \":\" only, IPv6"
                                           : "addresses of both kinds"));
    return {family};
}

} // namespace

bool explainAddresses(ExplanationBuilder& builder) {
    Answer& answer = builder.explanation.answer;
    const std::string_view name = builder.explanation.query->name;
    if (name == "local-maintenance-ip") {
        answer = textAnswer(byTag(builder, std::string(rules::kMaintenanceTag)));
    } else if (name == "local-service-ip") {
        std::string address = byTag(builder, std::string(rules::kServiceTag));
        if (address.empty()) {
            maintenanceFallback(builder, "a service address");
            address = builder.values.maintenanceIp;
        }
        answer = textAnswer(std::move(address));
    } else if (name == "local-service2-ip") {
        answer = textAnswer(byTag(builder, std::string(rules::kService2Tag)));
    } else if (name == "local-ip-by-usage") {
        answer = textAnswer(byTag(builder, builder.argument(0)));
    } else if (name == "local-north-ip") {
        answer = textAnswer(north(builder));
    } else if (name == "local-south-ip") {
        answer = textAnswer(south(builder));
    } else if (name == "pf-type") {
        answer = protocols(builder);
    } else if (name == "local-node-ips") {
        builder.floatNode();
        Recorder trace;
        const Numbered found = numbered(builder, builder.argument(0), trace);
        builder.walk(builder.sources.nodeList, builder.values.floatNodeId, kFloat, trace,
                     numberLabel);
        std::map<int, std::string> numbers;
        for (const auto& [number, address] : found.numbers) {
            numbers[number] = *address;
        }
        answer = library::numberedAnswer(numbers, found.service, found.service2);
    } else if (name == "local-node-ips-by-tag") {
        answer = byWholeTag(builder);
    } else {
        return false;
    }
    return true;
}

} // namespace sysconfctl
