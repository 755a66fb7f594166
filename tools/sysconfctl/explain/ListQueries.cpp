#include "explain/Narrator.h"

#include "render/Text.h"

#include <rules/ManagerNodes.h>
#include <rules/NodeList.h>
#include <rules/SourceNodeId.h>
#include <sysconfreader/Guards.h>

#include <fmt/format.h>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;
using Quarncommon::completes;

/// Puts a question to each node of the list alone, in the order of the ids, and tells what came of
/// it, up to the node that the rule cannot take.
template <typename Ask>
void tellNodes(Narrator& narrator, const SourceFile& list, Ask ask) {
    const Json::Value& nodes = valueAt(list.tree, {"nodeList"});
    for (const std::string& id : nodes.isObject() ? nodes.getMemberNames() : List{}) {
        Json::Value alone;
        alone["nodeList"][id] = nodes[id];
        std::string verdict;
        const bool complete = completes([&] { verdict = ask(alone, id); });
        const located::Path path = {"nodeList", id};
        if (!complete) {
            verdict = "holds a value of a wrong type: the library ends here without an answer";
            const std::vector<Misfit> misfits = within(nodeListMisfits(list.tree), path);
            narrator.because("wrong-type",
                             misfits.empty() ? located::pointer(path) + " cannot be taken"
                                             : located::pointer(misfits.front().path) + ' ' +
                                                   misfits.front().sentence,
                             "correct its type");
        }
        narrator.step("node", fmt::format("node \"{}\" {}", id, verdict), Spot{&list, path});
        if (!complete) {
            return;
        }
    }
}

bool managerList(Narrator& narrator) {
    const SourceFile& list = narrator.sources.managerNodeList;
    if (!list.variable.value) {
        narrator.variable(list.variable);
        narrator.because("variable-unset", "TOLM_ROOT is not set, so no file is looked for",
                         "set TOLM_ROOT to the manager's root");
        return false;
    }
    return narrator.file(list);
}

std::string counted(std::size_t count) {
    return fmt::format("{} address{}", count, count == 1 ? "" : "es");
}

/// Whether the rule takes the node's addresses, whatever they are.
bool isSelected(Json::Value alone, const std::string& id, const std::string& field,
                const std::string& prefix) {
    Json::Value entry;
    entry["IP"] = "#";
    alone["nodeList"][id]["IPAddresses"] = Json::Value(Json::arrayValue);
    alone["nodeList"][id]["IPAddresses"].append(entry);
    std::list<std::string> addresses;
    rules::appendAddresses(alone, field, prefix, addresses);
    return !addresses.empty();
}

Answer byField(Narrator& narrator) {
    if (!managerList(narrator)) {
        return {NoAnswer{}};
    }
    const SourceFile& list = narrator.sources.managerNodeList;
    const std::string& field = narrator.argument(0);
    const std::string& prefix = narrator.argument(1);
    tellNodes(narrator, list, [&](const Json::Value& alone, const std::string& id) {
        std::list<std::string> addresses;
        rules::appendAddresses(alone, field, prefix, addresses);
        // Asked of its addresses, a node has a list there.
        const bool selected =
            !addresses.empty() || (field != "IPAddresses" && isSelected(alone, id, field, prefix));
        return selected ? fmt::format("is selected: {} ({})", counted(addresses.size()),
                                      joined({addresses.begin(), addresses.end()}, ", "))
                        : fmt::format("is not selected: its \"{}\" does not begin so", field);
    });
    std::list<std::string> addresses;
    if (!completes([&] { rules::appendAddresses(list.tree, field, prefix, addresses); })) {
        narrator.because("wrong-type", "the list holds a value of a wrong type", "correct it");
        return {NoAnswer{}};
    }
    return {List(addresses.begin(), addresses.end())};
}

Answer byTags(Narrator& narrator) {
    if (!managerList(narrator)) {
        return {NoAnswer{}};
    }
    const SourceFile& list = narrator.sources.managerNodeList;
    const std::set<std::string> tags(narrator.told.arguments.begin(),
                                     narrator.told.arguments.end());
    for (const std::string& tag : tags) {
        if (rules::lowerCased(tag) != tag) {
            narrator.step("value", fmt::format("\"{}\" has capitals and matches nothing: tags of "
                                               "the file are lower-cased",
                                               tag));
        }
    }
    tellNodes(narrator, list, [&](const Json::Value& alone, const std::string& id) {
        std::map<std::string, std::set<std::string>> nodes;
        rules::collectTaggedAddresses(alone, tags, nodes);
        const std::set<std::string>& found = nodes[id];
        return fmt::format("has {} ({})", counted(found.size()),
                           joined({found.begin(), found.end()}, ", "));
    });
    std::map<std::string, std::set<std::string>> nodes;
    if (!completes([&] { rules::collectTaggedAddresses(list.tree, tags, nodes); })) {
        narrator.because("wrong-type", "the list holds a value of a wrong type", "correct it");
        return {NoAnswer{}};
    }
    return library::groupedAnswer(nodes);
}

Answer source(Narrator& narrator) {
    const SourceFile& list = narrator.sources.nodeList;
    narrator.file(list);
    const auto& services = narrator.loaded.serviceAddresses();
    const std::string* const found = rules::sourceNode(services, narrator.sources.hostAddresses);
    for (const auto& [id, address] : services) {
        const bool wins = found != nullptr && *found == id;
        narrator.step("node",
                      fmt::format("node \"{}\" is no standby, its last service address is {}{}", id,
                                  address,
                                  wins ? ": this host carries it, and it is the first" : ""),
                      Spot{&list, {"nodeList", id}});
    }
    narrator.step("host", "the addresses of this host are " +
                              joined({narrator.sources.hostAddresses.begin(),
                                      narrator.sources.hostAddresses.end()},
                                     ", "));
    narrator.because("no-source", "this host carries the service address of no node",
                     "a source is no \"standby\" and has an address tagged \"service\" that this "
                     "host carries");
    return found != nullptr ? textAnswer(*found) : Answer{NoAnswer{}};
}

/// A field of a connection entry: the query, and the path to it from the entry.
struct Column {
    std::string_view query;
    std::vector<std::string> path;
};

const Column* columnOf(std::string_view query) {
    static const Column kColumns[] = {
        {"db-type", {"type"}},
        {"db-access-host", {"accessHost"}},
        {"db-access-port", {"accessPort"}},
        {"db-user-name", {"user"}},
        {"db-password", {"passwd"}},
        {"db-service-name", {"serviceName"}},
        {"db-server-name", {"serverName"}},
        {"db-lib", {"instanceExt", "lib"}},
    };
    for (const Column& column : kColumns) {
        if (column.query == query) {
            return &column;
        }
    }
    return nullptr;
}

/// What the file has of a database, if the loader has come to it.
const Json::Value* databaseNamed(Narrator& narrator, const std::string& name) {
    const auto found = narrator.values.databases.find(name);
    const located::Path path = {"databases", name};
    if (found == narrator.values.databases.end()) {
        narrator.step("value", fmt::format("there is no database \"{}\"", name));
        narrator.because(
            "unknown-database",
            fmt::format("there is no database \"{}\" (names are case-sensitive)", name),
            "add it to \"databases\"");
        return nullptr;
    }
    narrator.step("value", fmt::format("database \"{}\" is {}", name, kindOf(found->second)),
                  Spot{&narrator.sources.appConfig, path});
    return &found->second;
}

Answer entryField(Narrator& narrator, const Column& column) {
    const unsigned int index = library::parseIndex(narrator.argument(1));
    const Json::Value* const database = databaseNamed(narrator, narrator.argument(0));
    if (database == nullptr) {
        return {NoAnswer{}};
    }
    if (database->isArray() && index >= database->size()) {
        narrator.step("value",
                      fmt::format("entry {} is beyond the last one and reads as empty", index));
        narrator.because("no-such-entry", fmt::format("the database has no entry {}", index),
                         "entries count from 0");
    } else if (database->isArray()) {
        located::Path path = {"databases", narrator.argument(0), std::to_string(index)};
        path.insert(path.end(), column.path.begin(), column.path.end());
        narrator.value(narrator.sources.appConfig, path,
                       narrator.told.query->secret == Secret::Whole);
    }
    try {
        const Json::Value* value = &(*database)[index];
        for (const std::string& step : column.path) {
            value = &(*value)[step];
        }
        return narrator.told.query->name == "db-access-port" ? numberAnswer(value->asInt())
                                                             : textAnswer(value->asString());
    } catch (const std::exception&) {
        narrator.step("value", "the library throws: a value on the way is of a wrong type");
        narrator.told.throws = true;
        return {NoAnswer{}};
    }
}

} // namespace

bool explainAllNodes(Narrator& narrator) {
    const std::string_view name = narrator.told.query->name;
    if (name == "ip-addresses") {
        narrator.told.answer = byField(narrator);
    } else if (name == "all-float-ip") {
        narrator.told.answer = byTags(narrator);
    } else if (name == "source-node-id") {
        narrator.told.answer = source(narrator);
    } else {
        return false;
    }
    return true;
}

bool explainDatabases(Narrator& narrator) {
    const std::string_view name = narrator.told.query->name;
    const Column* const column = columnOf(name);
    if (column == nullptr && name != "db-info" && name != "all-db-info") {
        return false;
    }
    narrator.file(narrator.sources.appConfig);
    if (narrator.sources.appConfig.loads) {
        narrator.stopped(LoadStep::AppConfig);
    }
    if (column != nullptr) {
        narrator.told.answer = entryField(narrator, *column);
    } else if (name == "db-info") {
        const Json::Value* const database = databaseNamed(narrator, narrator.argument(0));
        narrator.told.answer = database != nullptr ? Answer{*database} : Answer{NoAnswer{}};
    } else {
        Json::Value all(Json::objectValue);
        for (const auto& [database, value] : narrator.values.databases) {
            databaseNamed(narrator, database);
            all[database] = value;
        }
        narrator.told.answer = {std::move(all)};
    }
    return true;
}

} // namespace sysconfctl
