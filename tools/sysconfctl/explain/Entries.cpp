#include "explain/Entries.h"

#include <sysconfreader/Guards.h>

#include <algorithm>
#include <utility>

namespace sysconfctl {
namespace {

using Quarncommon::completes;

/// Entries with the steps that lead to them.
using NamedEntries = std::vector<std::pair<std::string, Json::Value>>;

NamedEntries listed(const Json::Value& entries) {
    NamedEntries list;
    if (entries.isArray()) {
        for (const Json::Value& entry : entries) {
            list.emplace_back(std::to_string(list.size()), entry);
        }
    } else if (entries.isObject()) {
        for (const std::string& name : entries.getMemberNames()) {
            list.emplace_back(name, entries[name]);
        }
    }
    return list;
}

/// The entry with a mark in place of its address; an address that nobody can take stays.
Json::Value marked(const Json::Value& entry, std::size_t number) {
    if (!entry.isObject() || entry["IP"].isArray() || entry["IP"].isObject()) {
        return entry;
    }
    Json::Value copy = entry;
    copy["IP"] = std::to_string(number);
    return copy;
}

/// Whether the rule walks an object with members where an array should stand.
bool takesListsLike(const Json::Value& entries, const EntriesRule& rule) {
    Json::Value list(Json::objectValue);
    list["entry"] = Json::Value();
    Slots ignored;
    return !entries.isObject() || entries.empty() || completes([&] { rule(list, ignored); });
}

Json::Value alone(const Json::Value& entry) {
    Json::Value list(Json::arrayValue);
    list.append(entry);
    return list;
}

/// How many entries the rule comes by, unless one ends it: an entry that no rule can take, put in
/// another one's place, is thrown over by a rule that comes by, and a rule that has come to its end
/// never goes on.
std::size_t countOfLookedAt(const NamedEntries& list, const EntriesRule& rule) {
    const auto comesBy = [&](const NamedEntries::value_type& one) {
        Json::Value entries(Json::arrayValue);
        for (std::size_t i = 0; &list[i] != &one; ++i) {
            entries.append(marked(list[i].second, i));
        }
        entries.append(Json::Value("no entry"));
        Slots ignored;
        return !completes([&] { rule(entries, ignored); });
    };
    const auto end = std::partition_point(list.begin(), list.end(), comesBy);
    return static_cast<std::size_t>(end - list.begin());
}

Fate fateWithoutSlot(const Json::Value& entry) {
    if (!entry.isObject()) {
        return Fate::NoTags;
    }
    const Json::Value& usage = entry["usage"];
    if (usage.isNull() || (usage.isArray() && usage.empty())) {
        return Fate::NoTags;
    }
    return usage.isArray() ? Fate::OtherTags : Fate::NoList;
}

Fate fateOf(const EntryFate& entry, std::size_t number,
            const std::map<std::string, std::size_t>& from, std::optional<std::size_t>& winner) {
    Fate fate = Fate::NotNeeded;
    for (const std::string& slot : entry.slots) {
        const auto has = from.find(slot);
        if (has == from.end()) {
            continue;
        }
        if (has->second == number) {
            winner.reset();
            return Fate::Taken;
        }
        winner = has->second;
        fate = has->second < number ? Fate::Earlier : Fate::Later;
    }
    return fate;
}

} // namespace

Provenance provenance(const Json::Value& entries, const EntriesRule& rule) {
    Provenance found;
    if (!takesListsLike(entries, rule)) {
        found.ended = true;
        return found;
    }
    const NamedEntries list = listed(entries);
    Json::Value whole(entries.isObject() ? Json::objectValue : Json::arrayValue);
    for (std::size_t i = 0; i < list.size(); ++i) {
        Json::Value entry = marked(list[i].second, i);
        if (entries.isObject()) {
            whole[list[i].first] = std::move(entry);
        } else {
            whole.append(std::move(entry));
        }
    }
    Slots slots;
    found.ended = !completes([&] { rule(whole, slots); });
    for (const auto& [slot, mark] : slots) {
        if (!mark.empty()) {
            found.from[slot] = static_cast<std::size_t>(std::stoul(mark));
        }
    }
    const std::size_t looked = countOfLookedAt(list, rule);
    bool over = false;
    for (std::size_t i = 0; i < list.size(); ++i) {
        EntryFate fate;
        fate.step = list[i].first;
        Slots own;
        const bool taken = completes([&] { rule(alone(marked(list[i].second, i)), own); });
        for (const auto& [slot, mark] : own) {
            if (!mark.empty()) {
                fate.slots.push_back(slot);
            }
        }
        if (over || i >= looked) {
            fate.fate = Fate::NotLookedAt;
        } else if (!taken) {
            fate.fate = Fate::Ends;
            over = true;
        } else if (fate.slots.empty()) {
            fate.fate = fateWithoutSlot(list[i].second);
        } else {
            fate.fate = fateOf(fate, i, found.from, fate.winner);
        }
        found.entries.push_back(std::move(fate));
    }
    return found;
}

} // namespace sysconfctl
