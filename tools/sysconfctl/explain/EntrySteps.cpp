// The lookup of a node, and its address entries one by one.

#include "explain/ExplanationBuilder.h"

#include "deployment/TypeMismatches.h"
#include "explain/NearMiss.h"
#include "render/Text.h"

#include <rules/NodeList.h>

#include <fmt/format.h>

#include <variant>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

/// The texts of "usage" as they are in the file.
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

/// The address and the tags.
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

struct FateWords {
    std::string_view outcome;
    std::string text;
    std::string_view by = {};
};

FateWords fateWords(const EntryFate& entry, const WalkedEntries& found, const Json::Value& value) {
    const auto winner = [&] {
        const EntryFate& other = found.entries.at(*entry.winner);
        return fmt::format("entry {}", other.step);
    };
    const std::string slots = joined(entry.slots, ", ");
    switch (entry.fate) {
    case Fate::Taken:
        return {"taken", "taken for " + slots};
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
                fmt::format("{} is overridden by tag: it is used only without the tag asked for",
                            slots),
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
    const Json::Value& nodes = valueAt(file.tree, {"nodeList"});
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
    // The node's id comes from this process, unless it is a node of the same list.
    const Spot own = processSpot({"nodeId"});
    const bool fromProcess = id == values.nodeId && sources.appConfig.document.find(own.path);
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
                               const EntryFate& entry, const WalkedEntries& found) {
    located::Path path = list;
    path.push_back(entry.step);
    const Json::Value& value = valueAt(file.tree, path);
    const FateWords words = fateWords(entry, found, value);
    std::string sentence = fmt::format("{}: {}", entryText(value), words.text);
    const Weight weight = entry.fate == Fate::Taken ? Weight::Decisive
                          : entry.fate == Fate::Earlier || entry.fate == Fate::Later
                              ? Weight::Deciding
                              : Weight::Detail;
    if (entry.fate == Fate::Ends && entry.mismatch) {
        sentence = fmt::format("{} {}: the search ends here", valueName(entry.mismatch->path),
                               describe(*entry.mismatch, file.tree));
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
                    .found = entry.mismatch ? kindOf(valueAt(file.tree, entry.mismatch->path)) : "",
                    .by = words.by},
          .weight = weight});
    if (entry.fate == Fate::Ends && entry.mismatch) {
        because("wrong-type",
                fmt::format("{} {}, and the search ends there", valueName(entry.mismatch->path),
                            describe(*entry.mismatch, file.tree)),
                fmt::format("make it {}", expectedText(entry.mismatch->expected)));
    } else if (entry.fate == Fate::NoList) {
        deciding();
    }
    if (!entry.meantTag.empty()) {
        step({.kind = "entry",
              .outcome = "near-miss",
              .sentence = fmt::format("{} is no tag that is read; did you mean {}?",
                                      named(entry.nearTag), named(entry.meantTag)),
              .at = Spot{&file, entry.nearTagPath},
              .facts = {.node = list.at(1),
                        .entry = entry.step,
                        .expected = entry.meantTag,
                        .found = entry.nearTag},
              .weight = Weight::Deciding});
    }
}

WalkedEntries ExplanationBuilder::walk(const SourceFile& file, const std::string& id,
                                       const Recorder& trace, SlotLabel label,
                                       const std::vector<AskedTag>& asked) {
    if (!this->file(file) || !node(file, id, trace)) {
        return {};
    }
    const located::Path path = {"nodeList", id, "IPAddresses"};
    const Json::Value& list = valueAt(file.tree, path);
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
    for (const EntryFate& one : found.entries) {
        entry(file, path, one, found);
    }
    return found;
}

} // namespace sysconfctl
