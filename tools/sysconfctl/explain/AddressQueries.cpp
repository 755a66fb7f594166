#include "explain/Narrator.h"

#include "render/Text.h"

#include <QuarnCommonUtils.h>
#include <rules/LocalIPByUsage.h>
#include <rules/NodeIPs.h>
#include <rules/NodeList.h>
#include <rules/SlotLists.h>
#include <sysconfreader/Guards.h>

#include <fmt/format.h>

#include <algorithm>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using Quarncommon::completes;

constexpr std::string_view kSouthbound = "southbound";
constexpr const char* kNorthbound = "northbound";
constexpr const char* kOwn = "the own node, whatever it stands in for";
constexpr const char* kFloat = "the float node";

/// The entries of the node, null when the list does not load.
const Json::Value& entriesOf(const Narrator& narrator, const std::string& id) {
    return valueAt(narrator.sources.nodeList.tree, {"nodeList", id, "IPAddresses"});
}

/// Whether the library comes to the node's entries at all: "nodeList" and the node may be of a type
/// that it cannot take.
bool reachesEntries(const Narrator& narrator, const std::string& id) {
    return completes(
        [&] { rules::addressEntries(rules::nodeEntry(narrator.sources.nodeList.tree, id)); });
}

/// Tells the list and the node, as far as the library comes; whether it comes to the entries.
bool tellNode(Narrator& narrator, const std::string& id, const char* why) {
    const SourceFile& list = narrator.sources.nodeList;
    if (!narrator.file(list)) {
        return false;
    }
    if (reachesEntries(narrator, id)) {
        return narrator.node(list, id, why);
    }
    for (const located::Path& path :
         {located::Path{}, located::Path{"nodeList"}, located::Path{"nodeList", id}}) {
        const Json::Value& value = valueAt(list.tree, path);
        if (!value.isNull() && !value.isObject()) {
            const std::string where = path.empty() ? "the root" : located::pointer(path);
            narrator.step("node", where + " is " + kindOf(value) + ": the library's walk ends here",
                          Spot{&list, path});
            narrator.because("wrong-type", where + " is " + kindOf(value), "make it an object");
            break;
        }
    }
    return false;
}

std::string byTag(Narrator& narrator, const std::string& usage) {
    const std::string tag = rules::lowerCased(usage);
    const bool own = tag == rules::kMaintenanceTag;
    narrator.floatNode();
    const std::string& id = own ? narrator.values.nodeId : narrator.values.floatNodeId;
    if (!tellNode(narrator, id, own ? kOwn : kFloat)) {
        return {};
    }
    narrator.entries(narrator.sources.nodeList, id, [&](const Json::Value& entries, Slots& slots) {
        slots[tag] = rules::addressByTag(entries, tag);
    });
    std::string address;
    completes([&] { address = rules::addressByTag(entriesOf(narrator, id), tag); });
    return address;
}

void maintenanceFallback(Narrator& narrator, const std::string& without) {
    const Spot spot = narrator.processSpot({"IR", "ip"});
    const bool there = narrator.sources.appConfig.document.find(spot.path) != nullptr;
    narrator.fallback(
        fmt::format("without {}, the maintenance address of this process is the "
                    "answer: {}",
                    without,
                    narrator.values.maintenanceIp.empty() ? "none" : narrator.values.maintenanceIp),
        there ? std::optional(spot) : std::nullopt);
}

struct Numbered {
    std::map<int, std::string> numbers;
    std::string service;
    std::string service2;
};

/// What the rule collects, also when it ends early.
Numbered numbered(const Json::Value& entries, const std::string& prefix, bool& complete) {
    Numbered found;
    complete = completes([&] {
        rules::collectByNumber(entries, prefix, found.numbers, found.service, found.service2);
    });
    return found;
}

struct EndsEarly {};

/// The place of the entry that filled a slot.
std::optional<Spot> filledBy(const Narrator& narrator, const std::string& id,
                             const Provenance& found, const std::string& slot) {
    const auto from = found.from.find(slot);
    if (from == found.from.end()) {
        return std::nullopt;
    }
    return Spot{&narrator.sources.nodeList,
                {"nodeList", id, "IPAddresses", found.entries.at(from->second).step}};
}

std::string numberSlot(int number) {
    return fmt::format("number {}", number);
}

/// @param services Whether service addresses are told beside numbered ones.
Numbered byNumber(Narrator& narrator, const std::string& prefix, bool services, Provenance& found) {
    narrator.floatNode();
    const std::string& id = narrator.values.floatNodeId;
    if (!tellNode(narrator, id, kFloat)) {
        return {};
    }
    found = narrator.entries(narrator.sources.nodeList, id,
                             [&](const Json::Value& entries, Slots& slots) {
                                 bool complete = false;
                                 const Numbered taken = numbered(entries, prefix, complete);
                                 for (const auto& [number, address] : taken.numbers) {
                                     slots[numberSlot(number)] = address;
                                 }
                                 if (services || taken.numbers.empty()) {
                                     slots[std::string(rules::kServiceTag)] = taken.service;
                                     slots[std::string(rules::kService2Tag)] = taken.service2;
                                 }
                                 if (!complete) {
                                     throw EndsEarly();
                                 }
                             });
    bool complete = false;
    return numbered(entriesOf(narrator, id), prefix, complete);
}

/// Where a value stands in a slot list: what is in front of its first separator is slot 1.
template <typename Key, typename Write>
std::size_t position(const std::map<Key, std::string>& addresses, const Key& key, Write write) {
    std::map<Key, std::string> marked;
    for (const auto& [other, address] : addresses) {
        marked[other] = address.empty() ? "" : other == key ? "#" : "x";
    }
    const std::string list = write(marked);
    const auto mark = std::find(list.begin(), list.end(), '#');
    return static_cast<std::size_t>(std::count(list.begin(), mark, ';')) + 1;
}

void tellServices(Narrator& narrator, const std::string& service, const char* family) {
    if (service.empty()) {
        maintenanceFallback(narrator, fmt::format("a {} or service address", family));
    } else {
        narrator.fallback(
            fmt::format("without a {} address, the service addresses are the answer", family));
    }
}

std::string north(Narrator& narrator) {
    Provenance entries;
    const Numbered found = byNumber(narrator, kNorthbound, false, entries);
    const std::string& maintenance = narrator.values.maintenanceIp;
    const auto write = [&](std::map<int, std::string> numbers) {
        return rules::northSlotList(std::move(numbers), found.service, found.service2, maintenance);
    };
    for (const auto& [number, address] : found.numbers) {
        if (!address.empty()) {
            narrator.step(
                "slot",
                fmt::format("slot {} of the list has number {}: {}",
                            position(found.numbers, number, write), number, address),
                filledBy(narrator, narrator.values.floatNodeId, entries, numberSlot(number)));
        }
    }
    if (found.numbers.empty()) {
        tellServices(narrator, found.service, "northbound");
    }
    return write(found.numbers);
}

struct Tagged {
    std::map<int, std::string> slots;
    rules::TagWalk seen;
};

/// An early end counts as no match, and leaves only the first service address.
Tagged southbound(const Json::Value& entries, bool& complete) {
    Tagged found;
    complete = completes([&] {
        rules::collectByTag(
            entries,
            [&](const std::string& tag) {
                const int slot = rules::southboundSlot(tag, kSouthbound);
                return slot != 0 ? &found.slots[slot] : nullptr;
            },
            found.seen);
    });
    if (!complete) {
        found.seen.matched = false;
        found.seen.service2.clear();
    }
    return found;
}

std::string slotName(int slot) {
    return std::string(kSouthbound) + (slot == 1 ? "" : std::to_string(slot));
}

std::string south(Narrator& narrator) {
    narrator.floatNode();
    const std::string& id = narrator.values.floatNodeId;
    Tagged found;
    Provenance provenance;
    if (tellNode(narrator, id, kFloat)) {
        bool complete = false;
        provenance = narrator.entries(
            narrator.sources.nodeList, id, [](const Json::Value& entries, Slots& slots) {
                bool walked = false;
                const Tagged seen = southbound(entries, walked);
                for (const auto& [slot, address] : seen.slots) {
                    slots[slotName(slot)] = address;
                }
                if (!seen.seen.matched) {
                    slots[std::string(rules::kServiceTag)] = seen.seen.service;
                    slots[std::string(rules::kService2Tag)] = seen.seen.service2;
                }
                if (!walked) {
                    throw EndsEarly();
                }
            });
        found = southbound(entriesOf(narrator, id), complete);
    }
    if (!found.seen.matched) {
        tellServices(narrator, found.seen.service, "southbound");
        return rules::serviceList(found.seen.service, found.seen.service2,
                                  narrator.values.maintenanceIp);
    }
    for (const auto& [slot, address] : found.slots) {
        if (!address.empty()) {
            narrator.step("slot",
                          fmt::format("slot {} of the list has {}: {}",
                                      position(found.slots, slot, rules::southSlotList),
                                      slotName(slot), address),
                          filledBy(narrator, id, provenance, slotName(slot)));
        }
    }
    return rules::southSlotList(found.slots);
}

/// The keys that the caller's map has: all southbound ones, which are created empty, and its own.
Answer byWholeTag(Narrator& narrator) {
    narrator.floatNode();
    const std::string& id = narrator.values.floatNodeId;
    std::map<std::string, std::string> tags;
    for (const std::string& tag : narrator.told.arguments) {
        tags[tag];
    }
    const auto walk = [](const Json::Value& entries, std::map<std::string, std::string>& into) {
        rules::TagWalk seen;
        const bool complete = completes([&] {
            rules::collectByTag(
                entries,
                [&](const std::string& tag) {
                    const bool key = rules::southboundSlot(tag, kSouthbound) != 0;
                    const auto slot = into.find(tag);
                    return slot != into.end() ? &slot->second : key ? &into[tag] : nullptr;
                },
                seen);
        });
        if (!complete) {
            seen.matched = false;
            seen.service2.clear();
        }
        if (!seen.matched) {
            into[std::string(rules::kServiceTag)] = seen.service;
            if (!seen.service2.empty()) {
                into[std::string(rules::kService2Tag)] = seen.service2;
            }
        }
        return complete;
    };
    if (tellNode(narrator, id, kFloat)) {
        const auto keys = tags;
        narrator.entries(narrator.sources.nodeList, id,
                         [&](const Json::Value& entries, Slots& slots) {
                             slots = keys;
                             if (!walk(entries, slots)) {
                                 throw EndsEarly();
                             }
                         });
        walk(entriesOf(narrator, id), tags);
    } else {
        walk(Json::Value(), tags);
    }
    return library::taggedAnswer(tags, narrator.told.arguments);
}

Answer protocols(Narrator& narrator) {
    std::list<std::string> pieces;
    const std::string list = south(narrator);
    QuarnCommonUtils::split(list, ";", pieces);
    const int family = rules::protocolFamily(pieces);
    narrator.step("value",
                  fmt::format("the southbound list is {}: {}", list.empty() ? "empty" : list,
                              family == 0   ? "no address with a \":\", which counts as IPv4"
                              : family == 1 ? "addresses with a \":\" only, IPv6"
                                            : "addresses of both kinds"));
    return {family};
}

} // namespace

bool explainAddresses(Narrator& narrator) {
    Answer& answer = narrator.told.answer;
    const std::string_view name = narrator.told.query->name;
    if (name == "local-maintenance-ip") {
        answer = textAnswer(byTag(narrator, std::string(rules::kMaintenanceTag)));
    } else if (name == "local-service-ip") {
        std::string address = byTag(narrator, std::string(rules::kServiceTag));
        if (address.empty()) {
            maintenanceFallback(narrator, "a service address");
            address = narrator.values.maintenanceIp;
        }
        answer = textAnswer(std::move(address));
    } else if (name == "local-service2-ip") {
        answer = textAnswer(byTag(narrator, std::string(rules::kService2Tag)));
    } else if (name == "local-ip-by-usage") {
        answer = textAnswer(byTag(narrator, narrator.argument(0)));
    } else if (name == "local-north-ip") {
        answer = textAnswer(north(narrator));
    } else if (name == "local-south-ip") {
        answer = textAnswer(south(narrator));
    } else if (name == "pf-type") {
        answer = protocols(narrator);
    } else if (name == "local-node-ips") {
        Provenance entries;
        const Numbered found = byNumber(narrator, narrator.argument(0), true, entries);
        answer = library::numberedAnswer(found.numbers, found.service, found.service2);
    } else if (name == "local-node-ips-by-tag") {
        answer = byWholeTag(narrator);
    } else {
        return false;
    }
    return true;
}

} // namespace sysconfctl
