// SPDX-License-Identifier: Apache-2.0
#include "explain/ExplanationBuilder.h"

#include "explain/NearMiss.h"
#include "render/Masking.h"

#include <fmt/format.h>

namespace sysconfctl {
namespace {

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

std::string contentsOf(const Json::Value& database) {
    return database.isArray() ? fmt::format("an array of {} entr{}", database.size(),
                                            database.size() == 1 ? "y" : "ies")
                              : kindOf(database);
}

void stoppedAtDatabases(ExplanationBuilder& builder) {
    const Stop* const stop = builder.loaded.stop(LoadStep::AppConfig);
    if (stop != nullptr && (stop->path.empty() || stop->path == located::Path{"databases"})) {
        builder.stopped(LoadStep::AppConfig);
    }
}

const Json::Value* databaseNamed(ExplanationBuilder& builder, const std::string& name) {
    const auto& databases = builder.values.databases;
    const auto found = databases.find(name);
    if (found != databases.end()) {
        builder.step(
            {.kind = "value",
             .outcome = "found",
             .sentence = fmt::format("database {} is {}", named(name), contentsOf(found->second)),
             .at = Spot{&builder.sources.appConfig, {"databases", name}},
             .weight = Weight::Deciding});
        return &found->second;
    }
    stoppedAtDatabases(builder);
    std::vector<std::string> names;
    names.reserve(databases.size());
    for (const auto& [other, value] : databases) {
        names.push_back(other);
    }
    const std::string near = nearestName(name, names);
    const std::string sentence =
        fmt::format("there is no database {}{}", named(name),
                    near.empty() ? "" : fmt::format("; did you mean {}?", named(near)));
    builder.step({.kind = "value", .outcome = "absent", .sentence = sentence});
    builder.because("unknown-database", sentence, "correct the name, or add it to \"databases\"");
    return nullptr;
}

/// A wrong type on the path to a field makes the query throw.
void wrongType(ExplanationBuilder& builder, const located::Path& path, const Json::Value& value,
               const char* expected) {
    const std::string sentence =
        fmt::format("{} is {} where {} is read", valueName(path), kindOf(value), expected);
    builder.step({.kind = "value",
                  .outcome = "wrong-type",
                  .sentence = sentence,
                  .at = Spot{&builder.sources.appConfig, path},
                  .facts = {.expected = expected, .found = kindOf(value)}});
    builder.because("wrong-type", sentence, fmt::format("make it {}", expected));
}

/// Walks as the library does. `reached` is the path reached when an exception is thrown.
Answer fieldOf(const Json::Value& database, unsigned int index, const Column& column,
               located::Path& reached, const char*& expected) {
    expected = "an array";
    const Json::Value* value = &database[index];
    reached.push_back(std::to_string(index));
    for (const std::string& step : column.path) {
        expected = "an object";
        value = &(*value)[step];
        reached.push_back(step);
    }
    const bool port = column.query == "db-access-port";
    expected = port ? "a 32-bit whole number" : "a text";
    return port ? numberAnswer(value->asInt()) : textAnswer(value->asString());
}

Answer entryField(ExplanationBuilder& builder, const Column& column) {
    const unsigned int index = indexArgument(builder.argument(1));
    const Json::Value* const database = databaseNamed(builder, builder.argument(0));
    if (database == nullptr) {
        builder.conclude({}, {});
        return {NoAnswer{}};
    }
    located::Path path = {"databases", builder.argument(0)};
    const char* expected = "";
    try {
        Answer answer = fieldOf(*database, index, column, path, expected);
        const auto* const text = std::get_if<std::string>(&answer.value);
        const bool secret = builder.explanation.query->secret == Secret::Whole ||
                            (text != nullptr && holdsLoginData(*text));
        if (database->isArray() && index < database->size()) {
            builder.value(builder.sources.appConfig, path, Weight::Decisive, secret);
        } else {
            const std::string sentence =
                fmt::format("database {} has no entry {}, which reads as empty",
                            named(builder.argument(0)), index);
            builder.step({.kind = "value", .outcome = "absent", .sentence = sentence});
            builder.because("no-such-entry", sentence, "entries are numbered from 0");
        }
        builder.conclude("read", builder.explanation.steps.back().sentence,
                         column.query == "db-access-port" ? "the port is 0"
                                                          : "the answer is empty");
        return answer;
    } catch (const std::exception& exception) {
        builder.explanation.error = exception.what();
        wrongType(builder, path, valueAt(builder.sources.appConfig.tree(), path), expected);
        builder.conclude({}, {}, "the library throws");
        return {NoAnswer{}};
    }
}

} // namespace

bool explainDatabases(ExplanationBuilder& builder) {
    Answer& answer = builder.explanation.answer;
    const std::string_view name = builder.explanation.query->name;
    const Column* const column = columnOf(name);
    if (column == nullptr && name != "db-info" && name != "all-db-info") {
        return false;
    }
    builder.explanation.moment = Moment::Load;
    builder.file(builder.sources.appConfig);
    if (column != nullptr) {
        answer = entryField(builder, *column);
    } else if (name == "db-info") {
        const Json::Value* const database = databaseNamed(builder, builder.argument(0));
        builder.conclude("read", database == nullptr
                                     ? ""
                                     : fmt::format("database {} is {}", named(builder.argument(0)),
                                                   contentsOf(*database)));
        answer = database != nullptr ? Answer{*database} : Answer{NoAnswer{}};
    } else {
        Json::Value all(Json::objectValue);
        for (const auto& [database, value] : builder.values.databases) {
            databaseNamed(builder, database);
            all[database] = value;
        }
        stoppedAtDatabases(builder);
        const std::size_t members = builder.values.databases.size();
        builder.conclude(members == 0 ? "no-database" : "read",
                         members == 0 ? "\"databases\" has no members"
                                      : fmt::format("\"databases\" has {} member{}", members,
                                                    members == 1 ? "" : "s"),
                         "no database is known");
        answer = {std::move(all)};
    }
    return true;
}

} // namespace sysconfctl
