// SPDX-License-Identifier: Apache-2.0
// Steps for the lookup of a node and for each of its address entries.

#include "explain/ExplanationBuilder.h"

#include "deployment/TypeMismatches.h"
#include "explain/NearMiss.h"
#include "render/Text.h"

#include <rules/NodeList.h>

#include <fmt/format.h>

#include <algorithm>
#include <variant>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

std::vector<std::string> tagsOf(const Json::Value& entry) {
    std::vector<std::string> tags;
    if (entry.isObject() && entry["usage"].isArray()) {
        for (const Json::Value& tag : entry["usage"]) {
            tags.push_back(tag.isArray() || tag.isObject() ? kindOf(tag) : tag.asString());
        }
    }
    return tags;
}

std::optional<std::string> addressOf(const Json::Value& entry) {
    if (!entry.isObject() || entry["IP"].isArray() || entry["IP"].isObject() ||
        entry["IP"].isNull()) {
        return std::nullopt;
    }
    return entry["IP"].asString();
}

std::string entryText(const Json::Value& entry) {
    if (!entry.isObject()) {
        return kindOf(entry);
    }
    const Json::Value& ip = entry["IP"];
    const auto address = addressOf(entry);
    const std::string text = address       ? (address->empty() ? "an empty \"IP\"" : *address)
                             : ip.isNull() ? "no \"IP\""
                                           : "an \"IP\" that is " + kindOf(ip);
    return entry["usage"].isArray() ? text + " [" + joined(tagsOf(entry), ", ") + "]" : text;
}

bool isAskedFor(const Json::Value& usage, const std::vector<AskedTag>& asked) {
    if (usage.isArray()) {
        return std::any_of(usage.begin(), usage.end(),
                           [&](const Json::Value& tag) { return isAskedFor(tag, asked); });
    }
    const std::string tag = usage.isString() ? rules::lowerCased(usage.asString()) : "";
    return std::any_of(asked.begin(), asked.end(), [&](const AskedTag& one) {
        return one.family ? tag.starts_with(one.tag) : tag == one.tag;
    });
}

struct FateWords {
    std::string_view outcome;
    std::string text;
    std::string_view by = {};
};

std::string lostText(const EntryFate& entry, const WalkedEntries& found) {
    const std::string slots = joined(entry.lost, ", ");
    return entry.winner ? fmt::format("overridden by position for {}, which entry {} has", slots,
                                      found.entries.at(*entry.winner).step)
                        : "overridden by tag for " + slots;
}

FateWords fateWords(const EntryFate& entry, const WalkedEntries& found, const Json::Value& value) {
    const auto winner = [&] {
        const EntryFate& other = found.entries.at(*entry.winner);
        return fmt::format("entry {}", other.step);
    };
    const std::string slots = joined(entry.slots, ", ");
    switch (entry.fate) {
    case Fate::Taken:
        return {"taken",
                clauses("taken for " + slots, entry.lost.empty() ? "" : lostText(entry, found))};
    case Fate::Earlier:
        return {
            "overridden",
            fmt::format("overridden by position: the first entry for {} wins, {}", slots, winner()),
            "position"};
    case Fate::Later:
        return {
            "overridden",
            fmt::format("overridden by position: the last entry for {} wins, {}", slots, winner()),
            "position"};
    case Fate::NotNeeded:
        return {"overridden",
                fmt::format("overridden by tag: {} is used only without {}", slots,
                            found.asked.empty() ? "the tag asked for" : found.asked.front().tag),
                "tag"};
    case Fate::OtherTags:
        return {"no-match", "not asked for"};
    case Fate::NoTags:
        return {"no-match", "no tags"};
    case Fate::NoList:
        return {"no-match", fmt::format("\"usage\" is {}, not an array, and matches nothing",
                                        kindOf(value["usage"]))};
    case Fate::Ends:
        return {"wrong-type", "the search ends here"};
    case Fate::NotLookedAt:
        break;
    }
    return {"not-reached", "not reached"};
}

} // namespace

bool ExplanationBuilder::node(const SourceFile& file, const std::string& id,
                              const Recorder& trace) {
    for (const rules::TraceEvent& event : trace.events) {
        const auto* const wrong = std::get_if<rules::TypeMismatch>(&event);
        if (wrong != nullptr && wrong->path.size() <= 2) {
            mismatch(file, *wrong, "node");
            return false;
        }
        if (std::holds_alternative<rules::NodeLookup>(event)) {
            break;
        }
    }
    const located::Path path = {"nodeList", id};
    if (file.document.find(path) != nullptr) {
        step({.kind = "node",
              .outcome = "found",
              .sentence = fmt::format("the entry of {} in the {}", named(id), file.title),
              .at = Spot{&file, path},
              .facts = {.node = id}});
        return true;
    }
    const located::Path nodeList = {"nodeList"};
    const Json::Value& nodes = valueAt(file.tree(), nodeList);
    const std::vector<std::string> ids =
        nodes.isObject() ? nodes.getMemberNames() : std::vector<std::string>();
    const std::string near = nearestName(id, ids);
    const std::string sentence =
        fmt::format("the {} has no node {}{}", file.title, named(id),
                    near.empty() ? "" : fmt::format("; did you mean {}?", named(near)));
    const bool nodesThere = file.document.find({"nodeList"}) != nullptr;
    step({.kind = "node",
          .outcome = "not-found",
          .sentence = sentence,
          .at = nodesThere ? std::optional(Spot{&file, {"nodeList"}}) : std::nullopt,
          .facts = {.node = id}});
    // If the id is the process's own node id, the step points to the place where it is configured.
    const Spot own = processSpot({"nodeId"});
    const bool fromProcess =
        id == values.nodeId && sources.appConfig.document.find(own.path) != nullptr;
    if (fromProcess) {
        step({.kind = "node",
              .outcome = "not-found",
              .sentence = fmt::format("nodeId of {} is {}, which the list does not have",
                                      processName(), named(id)),
              .at = own,
              .facts = {.node = id}});
    }
    because("node-not-listed", sentence,
            fromProcess ? fmt::format("correct nodeId of {}, or add the node", processName())
                        : "add the node");
    return false;
}

void ExplanationBuilder::entry(const SourceFile& file, const located::Path& list,
                               const EntryFate& entry, WalkedEntries& found) {
    located::Path path = list;
    path.push_back(entry.step);
    const Json::Value& value = valueAt(file.tree(), path);
    const FateWords words = fateWords(entry, found, value);
    std::string sentence = fmt::format("{}: {}", entryText(value), words.text);
    const Weight weight = entry.fate == Fate::Taken ? Weight::Decisive
                          : entry.fate == Fate::Earlier || entry.fate == Fate::Later
                              ? Weight::Deciding
                              : Weight::Detail;
    if (entry.fate == Fate::Ends && entry.mismatch) {
        sentence = fmt::format("{} {}: the search ends here", valueName(entry.mismatch->path),
                               describe(*entry.mismatch, file.tree()));
        path = entry.mismatch->path;
    } else if (entry.fate == Fate::NotLookedAt && found.endedBy) {
        sentence = fmt::format("{}: not reached, because the search ends at entry {}",
                               entryText(value), *found.endedBy);
    } else if (entry.fate == Fate::NotLookedAt && found.stoppedAt) {
        sentence = fmt::format("{}: not reached, because the first match is entry {}",
                               entryText(value), *found.stoppedAt);
    }
    step({.kind = "entry",
          .outcome = words.outcome,
          .sentence = std::move(sentence),
          .at = Spot{&file, path},
          .facts = {.node = list.at(1),
                    .entry = entry.step,
                    .address = addressOf(value),
                    .tags = tagsOf(value),
                    .expected = entry.mismatch ? expectedText(entry.mismatch->expected) : "",
                    .found =
                        entry.mismatch ? kindOf(valueAt(file.tree(), entry.mismatch->path)) : "",
                    .by = words.by},
          .weight = weight});
    if (entry.fate == Fate::Ends && entry.mismatch) {
        because("wrong-type",
                fmt::format("{} {}, and the search ends there", valueName(entry.mismatch->path),
                            describe(*entry.mismatch, file.tree())),
                fmt::format("make it {}", expectedText(entry.mismatch->expected)));
    }
    entryMistakes(file, path, entry, found);
}

void ExplanationBuilder::entryMistakes(const SourceFile& file, const located::Path& path,
                                       const EntryFate& entry, WalkedEntries& found) {
    const auto mistake = [&](std::string_view name, const located::Path& at, std::string sentence,
                             std::string advice, std::string meant, std::string is) {
        step({.kind = "entry",
              .outcome = name,
              .sentence = sentence,
              .at = Spot{&file, at},
              .facts = {.node = path.at(1),
                        .entry = entry.step,
                        .expected = std::move(meant),
                        .found = std::move(is)},
              .weight = Weight::Deciding});
        if (!found.hint) {
            found.hint =
                Hint{name, std::move(sentence), std::move(advice), explanation.steps.size() - 1};
        }
    };
    if (!entry.meantTag.empty()) {
        mistake("near-miss-tag", entry.nearTagPath,
                fmt::format("{} is no {} tag; did you mean {}?", named(entry.nearTag),
                            tagFamily(entry.meantTag), named(entry.meantTag)),
                "correct the tag", entry.meantTag, entry.nearTag);
    }
    const Json::Value& value = valueAt(file.tree(), path);
    if (entry.fate == Fate::NoList && isAskedFor(value["usage"], found.asked)) {
        located::Path usage = path;
        usage.emplace_back("usage");
        mistake("usage-no-array", usage,
                fmt::format("{} is {}, not an array, and matches nothing", valueName(usage),
                            kindOf(value["usage"])),
                "make it an array of texts", "an array", kindOf(value["usage"]));
    }
    const auto misspelt = [&](const char* member) {
        const auto miss = misspeltMember(value, {member});
        if (!miss || miss->misplaced ||
            (entry.fate == Fate::NoTags && !isAskedFor(value[miss->name], found.asked))) {
            return;
        }
        located::Path at = path;
        at.push_back(miss->name);
        mistake("misspelt-name", at,
                fmt::format("{} of entry {} is not a name that is read; did you mean {}?",
                            named(miss->name), entry.step, member),
                "correct the name", member, miss->name);
    };
    if (entry.fate == Fate::NoTags) {
        misspelt("usage");
    } else if (entry.fate == Fate::Taken && !value.isMember("IP")) {
        misspelt("IP");
    }
}

void ExplanationBuilder::notFound(const std::string& id, const std::string& what,
                                  const SourceFile& file) {
    const located::Path path = {"nodeList", id, "IPAddresses"};
    if (hasCause() || file.document.find(path) == nullptr) {
        return;
    }
    step({.kind = "entry",
          .outcome = "not-found",
          .sentence = fmt::format("no address of {} has {}", named(id), what),
          .at = Spot{&file, path},
          .facts = {.node = id}});
    decideLast();
}

WalkedEntries ExplanationBuilder::walk(const SourceFile& file, const std::string& id,
                                       const Recorder& trace, SlotLabel label,
                                       const std::vector<AskedTag>& asked) {
    if (!this->file(file) || !node(file, id, trace)) {
        return {};
    }
    const located::Path path = {"nodeList", id, "IPAddresses"};
    const Json::Value& list = valueAt(file.tree(), path);
    WalkedEntries found = walkedEntries(list, path, trace.events, label, asked);
    if (found.refused) {
        mismatch(file, *found.refused, "entry");
    } else if (found.entries.empty()) {
        const bool there = file.document.find(path) != nullptr;
        if (there) {
            step({.kind = "entry",
                  .outcome = "absent",
                  .sentence = fmt::format("IPAddresses of {} is {} without entries", named(id),
                                          kindOf(list)),
                  .at = Spot{&file, path},
                  .facts = {.node = id}});
        } else {
            absent(file, path);
        }
        because("no-address-entries", fmt::format("{} has no address entries", named(id)),
                "add them to IPAddresses");
    }
    for (std::size_t i = 0; i < found.entries.size(); ++i) {
        entry(file, path, found.entries[i], found);
    }
    return found;
}

} // namespace sysconfctl
