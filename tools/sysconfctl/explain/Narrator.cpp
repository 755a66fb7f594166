#include "explain/Narrator.h"

#include "render/Masking.h"
#include "render/Text.h"

#include <fmt/format.h>

namespace sysconfctl {
namespace {

std::string quoted(const std::string& text) {
    return '"' + text + '"';
}

/// Addresses and tags as they stand in the entry.
std::string entryText(const Json::Value& entry) {
    if (!entry.isObject()) {
        return kindOf(entry);
    }
    const Json::Value& ip = entry["IP"];
    std::string text = ip.isNull()                     ? "no \"IP\""
                       : ip.isArray() || ip.isObject() ? "an \"IP\" that is " + kindOf(ip)
                       : ip.asString().empty()         ? "an empty \"IP\""
                                                       : ip.asString();
    const Json::Value& usage = entry["usage"];
    std::vector<std::string> tags;
    if (usage.isArray()) {
        for (const Json::Value& tag : usage) {
            tags.push_back(tag.isArray() || tag.isObject() ? kindOf(tag) : tag.asString());
        }
        text += " [" + joined(tags, ", ") + "]";
    }
    return text;
}

std::string fateText(const EntryFate& entry, const Provenance& found, const Json::Value& value) {
    const auto winner = [&] {
        return entry.winner ? "entry " + found.entries.at(*entry.winner).step : std::string();
    };
    switch (entry.fate) {
    case Fate::Taken:
        return "taken for " + joined(entry.slots, ", ");
    case Fate::Earlier:
        return "not taken: " + winner() + " stands before it and counts";
    case Fate::Later:
        return "overwritten: " + winner() + " comes later and counts";
    case Fate::NotNeeded:
        return "not needed: there is an address of the kind asked for";
    case Fate::OtherTags:
        return "other tags";
    case Fate::NoTags:
        return "no tags";
    case Fate::NoList:
        return "its \"usage\" is " + kindOf(value["usage"]) + ", not a list: it matches nothing";
    case Fate::Ends:
        return "holds a value of a wrong type: the library's walk ends here";
    case Fate::NotLookedAt:
        break;
    }
    return "not looked at: the walk has ended before";
}

} // namespace

void Narrator::variable(const Variable& variable) {
    step("variable", variable.value ? variable.name + "=" + *variable.value
                                    : variable.name + " is not set, which counts as empty");
}

bool Narrator::file(const SourceFile& file) {
    if (!m_told.insert(&file).second) {
        return file.loads;
    }
    variable(file.variable);
    if (file.loads) {
        step("file", fmt::format("the {} {} is read and parsed", file.title, file.path));
        return true;
    }
    step("file", fmt::format("the {} does not load: {}", file.title, file.trouble()));
    if (!file.variable.value && !file.unreadable.empty()) {
        because("variable-unset", file.variable.name + " is not set",
                "set it to where the " + std::string(file.title) + " is");
    } else if (!file.unreadable.empty()) {
        because("file-unreadable", file.trouble(),
                "put the " + std::string(file.title) + " there, or correct " + file.variable.name);
    } else {
        because("file-does-not-parse", file.trouble(),
                "correct the file; sysconfctl check shows the place");
    }
    return false;
}

bool Narrator::value(const SourceFile& file, const located::Path& path, bool secret) {
    const Json::Value& found = valueAt(file.tree, path);
    const std::string where = located::pointer(path);
    if (file.document.find(path) == nullptr) {
        step("value", where + " is absent, which reads as nothing");
        because("value-absent", where + " is absent in " + file.path, "add it");
        return false;
    }
    const Spot spot{&file, path};
    if (found.isArray() || found.isObject()) {
        step("value", where + " is " + kindOf(found), spot);
        because("wrong-type", where + " is " + kindOf(found), "correct its type");
        return true;
    }
    const bool empty = found.isNull() || (found.isString() && found.asString().empty());
    step("value",
         where + (empty ? " is empty" : " is " + (secret ? std::string(kMask) : found.asString())),
         spot);
    if (empty) {
        because("value-empty", where + " is empty in " + file.path, "give it a value");
    }
    return !empty;
}

bool Narrator::stopped(LoadStep name) {
    const Stop* const stop = loaded.stop(name);
    if (stop == nullptr) {
        return false;
    }
    const std::string where = located::pointer(stop->path);
    step("load",
         fmt::format("the loader stops at {}, which {}: all that it reads after this keeps its "
                     "previous value",
                     where.empty() ? "the root" : where, stop->sentence),
         Spot{stop->file, stop->path});
    because("loader-stopped", fmt::format("{} {}", where, stop->sentence), "correct its type");
    return true;
}

Spot Narrator::processSpot(std::initializer_list<const char*> path) const {
    Spot spot{&sources.appConfig, {"processes", sources.instance.text()}};
    spot.path.insert(spot.path.end(), path.begin(), path.end());
    return spot;
}

void Narrator::process() {
    const bool loads = file(sources.appConfig);
    variable(sources.instance);
    if (!loads) {
        return;
    }
    const std::string& id = sources.instance.text();
    const Spot spot = processSpot({});
    if (sources.appConfig.document.find(spot.path) == nullptr) {
        step("value", "\"processes\" has no entry " + quoted(id));
        because(
            "no-instance-entry",
            fmt::format("\"processes\" in {} has no entry {}", sources.appConfig.path, quoted(id)),
            "add it, or correct PROCESS_INSTANCE_ID");
    } else {
        step("value", "the entry of this process is " + quoted(id), spot);
    }
    stopped(LoadStep::AppConfig);
}

void Narrator::floatNode() {
    process();
    const Spot own = processSpot({"nodeId"});
    const bool there = sources.appConfig.document.find(own.path) != nullptr;
    step("node", "the own node id is " + quoted(values.nodeId),
         there ? std::optional(own) : std::nullopt);
    if (values.nodeId.empty()) {
        because("no-node-id", "the own node id is empty",
                "name the node as \"nodeId\" in the entry of this process");
    }
    const located::Path role = {"nodeList", values.nodeId, "extAttr", "hostType"};
    if (loaded.stop(LoadStep::AppConfig) != nullptr || !file(sources.nodeList)) {
        return;
    }
    const bool roleThere = sources.nodeList.document.find(role) != nullptr;
    step("node", "its host type is " + quoted(values.hostType),
         roleThere ? std::optional(Spot{&sources.nodeList, role}) : std::nullopt);
    if (values.hostType != "standby") {
        step("node", "it is no \"standby\", so it answers for itself");
        return;
    }
    for (const auto& [id, address] : loaded.serviceAddresses()) {
        step("host",
             fmt::format("a standby may stand in for {}, whose service address is {}", quoted(id),
                         quoted(address)),
             Spot{&sources.nodeList, {"nodeList", id}});
    }
    step("host", "the addresses of this host are " +
                     joined({sources.hostAddresses.begin(), sources.hostAddresses.end()}, ", "));
    if (values.floatNodeId == values.nodeId) {
        step("node",
             "this host carries none of these addresses, so the standby answers for itself");
    } else {
        step("node", fmt::format("this host carries the service address of {}: it stands in for it",
                                 quoted(values.floatNodeId)));
    }
}

bool Narrator::node(const SourceFile& file, const std::string& id, const std::string& why) {
    const located::Path path = {"nodeList", id};
    if (file.document.find(path) == nullptr) {
        step("node", fmt::format("the {} has no node {} ({})", file.title, quoted(id), why));
        because("node-not-listed", fmt::format("{} has no node {}", file.path, quoted(id)),
                "add the node, or correct its id");
        return false;
    }
    step("node", fmt::format("the node looked up is {} ({})", quoted(id), why), Spot{&file, path});
    return true;
}

Provenance Narrator::entries(const SourceFile& file, const std::string& id,
                             const EntriesRule& rule) {
    const located::Path path = {"nodeList", id, "IPAddresses"};
    const Json::Value& list = valueAt(file.tree, path);
    Provenance found = provenance(list, rule);
    if (found.ended && found.entries.empty()) {
        step("entry", "\"IPAddresses\" is " + kindOf(list) + ": the library's walk ends here",
             Spot{&file, path});
        because("wrong-type", located::pointer(path) + " is " + kindOf(list), "make it a list");
    } else if (found.entries.empty()) {
        step("entry", list.isNull() ? "the node has no \"IPAddresses\""
                                    : "\"IPAddresses\" is " + kindOf(list) + " without entries");
        because("no-address-entries", "the node has no address entries", "add \"IPAddresses\"");
    }
    for (const EntryFate& entry : found.entries) {
        located::Path place = path;
        place.push_back(entry.step);
        const Json::Value& value = valueAt(file.tree, place);
        step("entry",
             fmt::format("entry {}, {}: {}", entry.step, entryText(value),
                         fateText(entry, found, value)),
             Spot{&file, place});
        if (entry.fate == Fate::Ends) {
            because("wrong-type", located::pointer(place) + " holds a value of a wrong type",
                    "correct its type; sysconfctl check shows the place");
        }
        if (entry.fate == Fate::Taken && value["IP"].asString().empty()) {
            because("entry-without-address", located::pointer(place) + " counts but has no \"IP\"",
                    "give it an \"IP\", or remove the tag");
        }
    }
    if (found.from.empty()) {
        because("tag-not-found", "no address entry of the node has a tag that is asked for",
                "tag an address entry; \"usage\" must be a list of texts");
    }
    return found;
}

} // namespace sysconfctl
