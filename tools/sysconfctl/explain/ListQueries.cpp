#include "explain/ExplanationBuilder.h"

#include "deployment/TypeMismatches.h"
#include "render/Text.h"

#include <base/Exceptions.h>
#include <rules/ManagerNodes.h>
#include <rules/NodeList.h>
#include <rules/SourceNodeId.h>

#include <fmt/format.h>

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
        builder.because("variable-unset", "TOLM_ROOT is not set, so no file is looked for",
                        "set TOLM_ROOT to the manager's root");
        return false;
    }
    return builder.file(list);
}

std::string counted(std::size_t count) {
    return fmt::format("{} address{}", count, count == 1 ? "" : "es");
}

/// What a rule that walks all nodes decided about a node.
struct NodeOutcome {
    std::string id;
    std::vector<std::string> addresses;
    bool skipped = false;
    std::optional<rules::TypeMismatch> mismatch;
};

/// Puts the events of such a rule together, node by node, up to the node that ended it.
class NodeOutcomes {
public:
    explicit NodeOutcomes(const Recorder& trace) {
        for (const rules::TraceEvent& event : trace.events) {
            std::visit(*this, event);
        }
    }

    void operator()(const rules::Collected& event) { m_current.addresses.push_back(event.value); }
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
        if (path.size() > 1) {
            m_current.id = path[1];
            nodes.push_back(std::exchange(m_current, {}));
        }
    }

    NodeOutcome m_current;
};

/// Adds a step for each node, up to the one that the rule cannot take.
template <typename Verdict>
void tellNodes(ExplanationBuilder& builder, const SourceFile& list, const Recorder& trace,
               Verdict verdictOf) {
    for (const NodeOutcome& node : NodeOutcomes(trace).nodes) {
        std::string verdict = node.mismatch ? "holds a value of a wrong type: the library ends "
                                              "here without an answer"
                                            : verdictOf(node);
        if (node.mismatch) {
            builder.because("wrong-type",
                            located::pointer(node.mismatch->path) + ' ' +
                                describe(*node.mismatch, list.tree),
                            "correct its type");
        }
        builder.step("node", fmt::format("node \"{}\" {}", node.id, verdict),
                     Spot{&list, {"nodeList", node.id}});
    }
}

Answer byField(ExplanationBuilder& builder) {
    if (!managerList(builder)) {
        return {NoAnswer{}};
    }
    const SourceFile& list = builder.sources.managerNodeList;
    const std::string& field = builder.argument(0);
    Recorder trace;
    std::list<std::string> addresses;
    const bool complete = runDroppingExceptions([&] {
        rules::appendAddresses(rules::TracedNode(list.tree, trace), field, builder.argument(1),
                               addresses);
    });
    tellNodes(builder, list, trace, [&](const NodeOutcome& node) {
        return node.skipped ? fmt::format("is not selected: its \"{}\" does not begin so", field)
                            : fmt::format("is selected: {} ({})", counted(node.addresses.size()),
                                          joined(node.addresses, ", "));
    });
    if (!complete) {
        builder.because("wrong-type", "the list holds a value of a wrong type", "correct it");
        return {NoAnswer{}};
    }
    return {List(addresses.begin(), addresses.end())};
}

Answer byTags(ExplanationBuilder& builder) {
    if (!managerList(builder)) {
        return {NoAnswer{}};
    }
    const SourceFile& list = builder.sources.managerNodeList;
    const std::set<std::string> tags(builder.explanation.arguments.begin(),
                                     builder.explanation.arguments.end());
    for (const std::string& tag : tags) {
        if (rules::lowerCased(tag) != tag) {
            builder.step("value", fmt::format("\"{}\" has capitals and matches nothing: tags of "
                                              "the file are lower-cased",
                                              tag));
        }
    }
    Recorder trace;
    std::map<std::string, std::set<std::string>> nodes;
    const bool complete = runDroppingExceptions(
        [&] { rules::collectTaggedAddresses(rules::TracedNode(list.tree, trace), tags, nodes); });
    tellNodes(builder, list, trace, [&](const NodeOutcome& node) {
        const std::set<std::string>& found = nodes[node.id];
        return fmt::format("has {} ({})", counted(found.size()),
                           joined({found.begin(), found.end()}, ", "));
    });
    if (!complete) {
        builder.because("wrong-type", "the list holds a value of a wrong type", "correct it");
        return {NoAnswer{}};
    }
    return library::groupedAnswer(nodes);
}

Answer source(ExplanationBuilder& builder) {
    const SourceFile& list = builder.sources.nodeList;
    builder.file(list);
    const auto& services = builder.loaded.serviceAddresses();
    const std::string* const found = rules::sourceNode(services, builder.sources.hostAddresses);
    for (const auto& [id, address] : services) {
        const bool wins = found != nullptr && *found == id;
        builder.step("node",
                     fmt::format("node \"{}\" is no standby, its last service address is {}{}", id,
                                 address,
                                 wins ? ": this host carries it, and it is the first" : ""),
                     Spot{&list, {"nodeList", id}});
    }
    builder.step("host",
                 "the addresses of this host are " + joined({builder.sources.hostAddresses.begin(),
                                                             builder.sources.hostAddresses.end()},
                                                            ", "));
    builder.because("no-source", "this host carries the service address of no node",
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
const Json::Value* databaseNamed(ExplanationBuilder& builder, const std::string& name) {
    const auto found = builder.values.databases.find(name);
    const located::Path path = {"databases", name};
    if (found == builder.values.databases.end()) {
        builder.step("value", fmt::format("there is no database \"{}\"", name));
        builder.because("unknown-database",
                        fmt::format("there is no database \"{}\" (names are case-sensitive)", name),
                        "add it to \"databases\"");
        return nullptr;
    }
    builder.step("value", fmt::format("database \"{}\" is {}", name, kindOf(found->second)),
                 Spot{&builder.sources.appConfig, path});
    return &found->second;
}

Answer entryField(ExplanationBuilder& builder, const Column& column) {
    const unsigned int index = library::parseIndex(builder.argument(1));
    const Json::Value* const database = databaseNamed(builder, builder.argument(0));
    if (database == nullptr) {
        return {NoAnswer{}};
    }
    if (database->isArray() && index >= database->size()) {
        builder.step("value",
                     fmt::format("entry {} is beyond the last one and reads as empty", index));
        builder.because("no-such-entry", fmt::format("the database has no entry {}", index),
                        "entries count from 0");
    } else if (database->isArray()) {
        located::Path path = {"databases", builder.argument(0), std::to_string(index)};
        path.insert(path.end(), column.path.begin(), column.path.end());
        builder.value(builder.sources.appConfig, path,
                      builder.explanation.query->secret == Secret::Whole);
    }
    try {
        const Json::Value* value = &(*database)[index];
        for (const std::string& step : column.path) {
            value = &(*value)[step];
        }
        return builder.explanation.query->name == "db-access-port" ? numberAnswer(value->asInt())
                                                                   : textAnswer(value->asString());
    } catch (const std::exception&) {
        builder.step("value", "the library throws: a value on the way is of a wrong type");
        builder.explanation.throws = true;
        return {NoAnswer{}};
    }
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

bool explainDatabases(ExplanationBuilder& builder) {
    const std::string_view name = builder.explanation.query->name;
    const Column* const column = columnOf(name);
    if (column == nullptr && name != "db-info" && name != "all-db-info") {
        return false;
    }
    builder.file(builder.sources.appConfig);
    if (builder.sources.appConfig.loads) {
        builder.stopped(LoadStep::AppConfig);
    }
    if (column != nullptr) {
        builder.explanation.answer = entryField(builder, *column);
    } else if (name == "db-info") {
        const Json::Value* const database = databaseNamed(builder, builder.argument(0));
        builder.explanation.answer = database != nullptr ? Answer{*database} : Answer{NoAnswer{}};
    } else {
        Json::Value all(Json::objectValue);
        for (const auto& [database, value] : builder.values.databases) {
            databaseNamed(builder, database);
            all[database] = value;
        }
        builder.explanation.answer = {std::move(all)};
    }
    return true;
}

} // namespace sysconfctl
