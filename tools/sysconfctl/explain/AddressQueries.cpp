// SPDX-License-Identifier: Apache-2.0
#include "explain/ExplanationBuilder.h"

#include "render/Text.h"

#include <QuarnCommonUtils.h>
#include <base/Exceptions.h>
#include <rules/LocalIPByUsage.h>
#include <rules/NodeIPs.h>
#include <rules/NodeList.h>
#include <rules/SlotLists.h>

#include <fmt/format.h>

#include <algorithm>
#include <variant>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using Quarncommon::runDroppingExceptions;

using rules::kSouthboundFamily;

/// If a value of the wrong type stops the rule, its results up to there are kept.
template <typename Rule>
void traced(const ExplanationBuilder& builder, Recorder& trace, Rule rule) {
    runDroppingExceptions([&] { rule(rules::TracedNode(builder.sources.nodeList.tree(), trace)); });
}

std::string sameLabel(const std::string& slot) {
    return slot;
}

/// "node-2 answers for node-1: "
std::string standingIn(const ExplanationBuilder& builder) {
    return builder.standsIn() ? fmt::format("{} answers for {}; ", named(builder.values.nodeId),
                                            named(builder.values.floatNodeId))
                              : "";
}

struct Tagged {
    std::string tag;
    std::string node;
    std::string address;
    WalkedEntries walked;
};

Tagged byTag(ExplanationBuilder& builder, const std::string& usage) {
    Tagged found{rules::lowerCased(usage), {}, {}, {}};
    const bool own = found.tag == rules::kMaintenanceTag;
    if (own) {
        builder.ownNode(LoadStep::AppConfig);
        builder.explanation.moment = Moment::NodeAtLoad;
    } else {
        builder.floatNode(false);
    }
    found.node = rules::nodeForTag(found.tag, builder.values.nodeId, builder.values.floatNodeId);
    Recorder trace;
    traced(builder, trace, [&](const rules::TracedNode& list) {
        found.address = rules::addressByTag(
            rules::addressEntries(rules::nodeEntry(list, found.node)), found.tag);
    });
    found.walked =
        builder.walk(builder.sources.nodeList, found.node, trace, sameLabel, {{found.tag, false}});
    return found;
}

/// Returns the effect of the fallback on the answer.
std::string maintenanceFallback(ExplanationBuilder& builder) {
    const Spot spot = builder.processSpot({"IR", "ip"});
    const std::string& address = builder.values.maintenanceIp;
    const bool there = builder.sources.appConfig.document.find(spot.path) != nullptr &&
                       builder.loaded.hasRead(LoadStep::AppConfig, spot.path);
    builder.step(
        {.kind = "fallback",
         .outcome = "fallback",
         .sentence = fmt::format("the maintenance address of {} is {}", builder.processName(),
                                 address.empty() ? "empty" : address),
         .at = there ? std::optional(spot) : std::nullopt,
         .facts = {.address = address}});
    builder.decisive();
    return address.empty() ? "falls back to the maintenance address of the process, which is empty"
                           : "falls back to the maintenance address of the process";
}

/// Concludes with a mistake in an entry as the reason. Returns whether there is one.
bool concludeHint(ExplanationBuilder& builder, const WalkedEntries& walked,
                  const std::string& standing, const std::string& then, const std::string& effect) {
    if (!walked.hint) {
        return false;
    }
    const Hint& hint = *walked.hint;
    builder.decideAt(hint.step);
    builder.conclude(hint.name, standing + clauses(hint.sentence, then), effect, hint.advice);
    return true;
}

/// @param effect The query's fallback; empty if it has none.
void concludeTag(ExplanationBuilder& builder, const Tagged& found, const std::string& effect) {
    const bool own = found.tag == rules::kMaintenanceTag;
    const std::string standing = own ? "" : standingIn(builder);
    const std::string node = named(found.node);
    if (!found.address.empty()) {
        builder.conclude("tag-found", fmt::format("{}{} is the first address of {} tagged {}",
                                                  standing, found.address, node, named(found.tag)));
        return;
    }
    const std::string without = effect.empty() ? "" : fmt::format("{} {}", node, effect);
    if (concludeHint(builder, found.walked, standing, without, effect)) {
        return;
    }
    if (!found.walked.from.empty()) {
        builder.conclude("entry-without-address",
                         clauses(fmt::format("{}the first entry of {} tagged {} has no \"IP\", and "
                                             "the search ends there",
                                             standing, node, named(found.tag)),
                                 effect),
                         effect, "give it an \"IP\", or remove the tag");
        return;
    }
    if (effect.empty()) {
        builder.notFound(found.node, fmt::format("the tag {}", named(found.tag)),
                         builder.sources.nodeList);
    }
    builder.conclude(
        effect.empty() ? "tag-not-found" : "fallback",
        clauses(fmt::format("{}no {} tag on {}", standing, named(found.tag), node), effect), effect,
        fmt::format("if it should have one, tag an address of {}", node));
}

struct Numbered {
    rules::SlotMap numbers;
    std::string service;
    std::string service2;
};

/// Returns what the rule collects, even if it stops early.
Numbered numbered(const ExplanationBuilder& builder, const std::string& prefix, Recorder& trace) {
    Numbered found;
    traced(builder, trace, [&](const rules::TracedNode& list) {
        rules::collectByNumber(
            rules::addressEntries(rules::nodeEntry(list, builder.values.floatNodeId)), prefix,
            found.numbers, found.service, found.service2);
    });
    return found;
}

std::string numberLabel(const std::string& slot) {
    return slot == rules::kServiceTag || slot == rules::kService2Tag ? slot : "number " + slot;
}

std::string northboundLabel(const std::string& slot) {
    const bool service = slot == rules::kServiceTag || slot == rules::kService2Tag;
    return service ? slot : std::string(rules::kNorthboundFamily) + (slot == "0" ? "" : slot);
}

std::string southboundLabel(const std::string& slot) {
    return std::string(kSouthboundFamily) + (slot == "1" ? "" : slot);
}

/// Adds them in the order of the slots' numbers. Returns "northbound in slot 1".
std::vector<std::string> slotSteps(ExplanationBuilder& builder, const Recorder& trace,
                                   const WalkedEntries& walked, SlotLabel label) {
    std::map<int, rules::SlotPlaced> placed;
    for (const rules::TraceEvent& event : trace.events) {
        if (const auto* const slot = std::get_if<rules::SlotPlaced>(&event)) {
            placed.emplace(std::stoi(slot->slot), *slot);
        }
    }
    std::vector<std::string> words;
    for (const auto& [number, slot] : placed) {
        const std::string name = label(slot.slot);
        const auto from = walked.from.find(name);
        std::optional<Spot> spot;
        if (from != walked.from.end()) {
            spot = Spot{&builder.sources.nodeList,
                        {"nodeList", builder.values.floatNodeId, "IPAddresses",
                         walked.entries.at(from->second).step}};
        }
        if (slot.value.empty()) {
            builder.step(
                {.kind = "slot",
                 .outcome = "empty",
                 .sentence = fmt::format("slot {} has {} without an \"IP\"", slot.position, name),
                 .at = spot});
            continue;
        }
        words.push_back(fmt::format("{} in slot {}", name, slot.position));
        builder.step(
            {.kind = "slot",
             .outcome = "placed",
             .sentence = fmt::format("slot {} has {}: {}", slot.position, name, slot.value),
             .at = spot,
             .facts = {.node = builder.values.floatNodeId, .address = slot.value}});
    }
    return words;
}

const rules::FallbackUsed* fallbackOf(const Recorder& trace) {
    for (const rules::TraceEvent& event : trace.events) {
        if (const auto* const fallback = std::get_if<rules::FallbackUsed>(&event)) {
            return fallback;
        }
    }
    return nullptr;
}

/// Joins at most five, and says how many are left out.
std::string someOf(std::vector<std::string> words) {
    constexpr std::size_t kMost = 5;
    const std::size_t more = words.size() > kMost ? words.size() - kMost : 0;
    words.resize(words.size() - more);
    return joined(words, ", ") + (more != 0 ? fmt::format(" and {} more", more) : "");
}

std::string overriddenClause(const WalkedEntries& walked) {
    const std::size_t entries = walked.overridden();
    return entries == 0   ? ""
           : entries == 1 ? "1 entry with the same tag is overridden"
                          : fmt::format("{} entries with the same tags are overridden", entries);
}

void concludeMany(ExplanationBuilder& builder, const WalkedEntries& walked, std::string_view name,
                  const std::string& sentence, const std::string& effect) {
    const std::string whole = clauses(standingIn(builder) + sentence, overriddenClause(walked));
    if (walked.hint) {
        builder.decideAt(walked.hint->step);
        builder.conclude(walked.hint->name, clauses(whole, walked.hint->sentence), effect,
                         walked.hint->advice);
    } else {
        builder.conclude(name, whole, effect);
    }
}

void concludeFamily(ExplanationBuilder& builder, const WalkedEntries& walked,
                    const std::vector<std::string>& slots, const std::string& family) {
    const std::string node = named(builder.values.floatNodeId);
    concludeMany(builder, walked, slots.empty() ? "entry-without-address" : "family-found",
                 slots.empty()
                     ? fmt::format("the {} entries of {} have no \"IP\", so every slot is empty",
                                   family, node)
                     : fmt::format("{} has {} {} address{}: {}", node, slots.size(), family,
                                   slots.size() == 1 ? "" : "es", someOf(slots)),
                 "the answer has only what was found before it");
}

void concludeList(ExplanationBuilder& builder, const Recorder& trace, const WalkedEntries& walked,
                  SlotLabel label, const std::string& family) {
    const std::vector<std::string> slots = slotSteps(builder, trace, walked, label);
    const rules::FallbackUsed* const fallback = fallbackOf(trace);
    if (fallback == nullptr) {
        concludeFamily(builder, walked, slots, family);
        return;
    }
    const bool noService = fallback->to == rules::FallbackUsed::To::Maintenance;
    std::string effect = "falls back to its service address";
    if (noService) {
        effect = maintenanceFallback(builder);
    } else {
        builder.step({.kind = "fallback",
                      .outcome = "fallback",
                      .sentence = fmt::format(
                          "without a {} address, the service addresses are the answer", family),
                      .facts = {.address = fallback->value}});
    }
    builder.decideLast();
    const std::string node = named(builder.values.floatNodeId);
    const std::string standing = standingIn(builder);
    if (!concludeHint(builder, walked, standing, node + " " + effect, effect)) {
        builder.conclude("fallback",
                         fmt::format("{}no {}{} tag on {}; {}", standing, family,
                                     noService ? " or service" : "", node, effect),
                         effect);
    }
}

std::string north(ExplanationBuilder& builder) {
    builder.floatNode(false);
    Recorder trace;
    const std::string family(rules::kNorthboundFamily);
    const Numbered found = numbered(builder, family, trace);
    std::string list = rules::northSlotList(found.numbers, found.service, found.service2,
                                            builder.values.maintenanceIp, &trace);
    const WalkedEntries walked = builder.walk(builder.sources.nodeList, builder.values.floatNodeId,
                                              trace, northboundLabel, {{family, true}});
    concludeList(builder, trace, walked, northboundLabel, family);
    return list;
}

std::string south(ExplanationBuilder& builder) {
    builder.floatNode(false);
    const std::string& id = builder.values.floatNodeId;
    Recorder trace;
    rules::SlotMap bySlot;
    rules::TagWalk seen;
    traced(builder, trace, [&](const rules::TracedNode& list) {
        rules::collectSouthbound(rules::addressEntries(rules::nodeEntry(list, id)),
                                 kSouthboundFamily, bySlot, seen);
    });
    std::string list = rules::southSlotList(bySlot, seen, builder.values.maintenanceIp, &trace);
    const std::string family(kSouthboundFamily);
    const WalkedEntries walked =
        builder.walk(builder.sources.nodeList, id, trace, sameLabel, {{family, true}});
    concludeList(builder, trace, walked, southboundLabel, family);
    return list;
}

Answer byWholeTag(ExplanationBuilder& builder) {
    builder.floatNode(false);
    const std::string& id = builder.values.floatNodeId;
    std::map<std::string, std::string> tags;
    std::vector<AskedTag> asked = {{std::string(kSouthboundFamily), true}};
    for (const std::string& tag : builder.explanation.arguments) {
        tags[tag];
        asked.push_back({tag, false});
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
    const WalkedEntries walked =
        builder.walk(builder.sources.nodeList, id, trace, sameLabel, asked);
    const std::string node = named(id);
    const auto filled = std::count_if(tags.begin(), tags.end(),
                                      [](const auto& tag) { return !tag.second.empty(); });
    const std::string sentence =
        seen.hasFamily()
            ? fmt::format("{} has {} address{} with these tags", node, filled,
                          filled == 1 ? "" : "es")
            : fmt::format("no southbound{} tag on {}; its service addresses are the answer",
                          builder.explanation.arguments.empty() ? "" : " or requested", node);
    concludeMany(builder, walked, seen.hasFamily() ? "family-found" : "fallback", sentence,
                 "the southbound tags are left empty");
    return library::taggedAnswer(tags, builder.explanation.arguments);
}

Answer byNumber(ExplanationBuilder& builder) {
    builder.floatNode(false);
    Recorder trace;
    const std::string& prefix = builder.argument(0);
    const Numbered found = numbered(builder, prefix, trace);
    const WalkedEntries walked = builder.walk(builder.sources.nodeList, builder.values.floatNodeId,
                                              trace, numberLabel, {{prefix, true}});
    std::map<int, std::string> numbers;
    for (const auto& [number, address] : found.numbers) {
        numbers[number] = *address;
    }
    const std::string node = named(builder.values.floatNodeId);
    const bool any = !numbers.empty() || !found.service.empty() || !found.service2.empty();
    const char* const effect = any ? "the answer has only what was found before it" : "";
    if (numbers.empty() && rules::lowerCased(prefix) != prefix) {
        builder.conclude("capitals",
                         fmt::format("{} has capitals and matches nothing: tags are compared in "
                                     "lower case",
                                     named(prefix)),
                         effect, "ask for " + named(rules::lowerCased(prefix)));
    } else if (numbers.empty()) {
        builder.notFound(builder.values.floatNodeId,
                         fmt::format("a tag that contains {}", named(prefix)),
                         builder.sources.nodeList);
        concludeMany(builder, walked, "tag-not-found",
                     fmt::format("no tag of {} contains {}{}", node, named(prefix),
                                 found.service.empty() ? "" : "; only service addresses are left"),
                     effect);
    } else {
        concludeMany(builder, walked, "family-found",
                     fmt::format("{} has {} number{} in tags with {}", node, numbers.size(),
                                 numbers.size() == 1 ? "" : "s", named(prefix)),
                     effect);
    }
    return library::numberedAnswer(numbers, found.service, found.service2);
}

Answer protocols(ExplanationBuilder& builder) {
    std::list<std::string> pieces;
    const std::string list = south(builder);
    QuarnCommonUtils::split(list, ";", pieces);
    const int family = rules::protocolFamily(pieces);
    const bool any = list.find_first_not_of(';') != std::string::npos;
    const std::string why = !any          ? "without any address it is 0, IPv4"
                            : family == 0 ? "no address has a \":\", so it is 0, IPv4"
                            : family == 1 ? "every address has a \":\", so it is 1, IPv6"
                                          : "addresses with and without \":\", so it is 2, both";
    builder.step(
        {.kind = "value",
         .outcome = "read",
         .sentence = fmt::format("the southbound list is {}", list.empty() ? "empty" : list),
         .weight = Weight::Deciding});
    Verdict& verdict = builder.explanation.verdict;
    verdict.sentence = clauses(verdict.sentence, why);
    return {family};
}

} // namespace

bool explainAddresses(ExplanationBuilder& builder) {
    Answer& answer = builder.explanation.answer;
    const std::string_view name = builder.explanation.query->name;
    if (name == "local-service-ip") {
        Tagged found = byTag(builder, std::string(rules::kServiceTag));
        concludeTag(builder, found, found.address.empty() ? maintenanceFallback(builder) : "");
        answer = textAnswer(found.address.empty() ? builder.values.maintenanceIp : found.address);
    } else if (name == "local-maintenance-ip" || name == "local-service2-ip" ||
               name == "local-ip-by-usage") {
        const std::string tag = name == "local-maintenance-ip" ? std::string(rules::kMaintenanceTag)
                                : name == "local-service2-ip"  ? std::string(rules::kService2Tag)
                                                               : builder.argument(0);
        const Tagged found = byTag(builder, tag);
        concludeTag(builder, found, "");
        answer = textAnswer(found.address);
    } else if (name == "local-north-ip") {
        answer = textAnswer(north(builder));
    } else if (name == "local-south-ip") {
        answer = textAnswer(south(builder));
    } else if (name == "pf-type") {
        answer = protocols(builder);
    } else if (name == "local-node-ips") {
        answer = byNumber(builder);
    } else if (name == "local-node-ips-by-tag") {
        answer = byWholeTag(builder);
    } else {
        return false;
    }
    return true;
}

} // namespace sysconfctl
