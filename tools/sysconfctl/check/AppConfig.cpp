// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "deployment/JsonValues.h"
#include "deployment/TypeMismatches.h"

#include <fmt/format.h>

#include <map>

namespace sysconfctl {
namespace {

using located::Path;

Path with(Path path, std::initializer_list<const char*> steps) {
    path.insert(path.end(), steps.begin(), steps.end());
    return path;
}

void checkStops(Checker& checker, const SourceFile& file) {
    const Stop* const stop = checker.loaded().stop(LoadStep::AppConfig);
    for (const TypeMismatch& mismatch :
         appConfigMismatches(file.tree, checker.sources.instance.text())) {
        const bool stops = stop != nullptr && stop->path == mismatch.path;
        const std::string where =
            mismatch.path.empty() ? "the root" : '"' + mismatch.path.back() + '"';
        checker.at(file, mismatch.path, Severity::Error, "wrong-type",
                   where + ' ' + describe(mismatch, file.tree) +
                       (stops
                            ? ": the loader stops here; what it reads behind this, ports, node id "
                              "and host tag among it, keeps its previous value"
                            : ": the loader will stop here"),
                   "correct its type");
    }
}

/// A text that is there, but no text: jsoncpp converts it.
void checkText(Checker& checker, const SourceFile& file, const Path& path, bool address) {
    const Json::Value& value = valueAt(file.tree, path);
    const std::string& name = path.back();
    if (file.document.find(path) == nullptr || value.isNull()) {
        checker.at(file, path, Severity::Warning, "absent",
                   fmt::format("{} is absent: it reads as \"\"", located::pointer(path)));
    } else if (value.isString() && value.asString().empty()) {
        checker.at(file, path, Severity::Warning, "empty", fmt::format("\"{}\" is empty", name));
    } else if (!value.isString() && !value.isArray() && !value.isObject()) {
        checker.at(
            file, path, Severity::Warning, "odd-type",
            fmt::format("\"{}\" is {}: it reads as \"{}\"", name, kindOf(value), value.asString()),
            "write it as a text");
    } else if (address && value.isString() && !isAddress(value.asString())) {
        checker.at(file, path, Severity::Warning, "not-an-address",
                   fmt::format("\"{}\" is no IPv4 or IPv6 address", value.asString()));
    }
}

void checkPort(Checker& checker, const SourceFile& file, const Path& path,
               std::map<int, std::string>& ports) {
    const Json::Value& value = valueAt(file.tree, path);
    if (file.document.find(path) == nullptr || value.isNull()) {
        checker.at(file, path, Severity::Warning, "absent",
                   fmt::format("{} is absent: it reads as 0", located::pointer(path)));
        return;
    }
    if (value.isString() || value.isArray() || value.isObject() ||
        !value.isConvertibleTo(Json::intValue)) {
        return; // a wrong type, told where it stops the loader
    }
    const int port = value.asInt();
    if (!value.isIntegral()) {
        checker.at(file, path, Severity::Warning, "odd-type",
                   fmt::format("this port is {}: it reads as {}", kindOf(value), port),
                   "write it as a whole number");
    }
    if (port < 1 || port > 65535) {
        checker.at(file, path, Severity::Warning, "port-range",
                   fmt::format("port {} is out of range", port), "ports go from 1 to 65535");
        return;
    }
    const auto [same, isNew] = ports.emplace(port, located::pointer(path));
    if (!isNew) {
        checker.at(file, path, Severity::Warning, "equal-ports",
                   fmt::format("port {} is also that of {}", port, same->second));
    }
}

void checkProcess(Checker& checker, const SourceFile& file) {
    const std::string id = checker.sources.instance.text();
    const Path process = {"processes", id};
    const Path processes = {"processes"};
    const Json::Value& entries = valueAt(file.tree, processes);
    if (!entries.isNull() && !entries.isObject()) {
        return;
    }
    if (file.document.find(process) == nullptr) {
        checker.at(file, process, Severity::Error, "no-instance",
                   fmt::format("there is no entry \"{}\" for PROCESS_INSTANCE_ID: ports, addresses "
                               "of the process and the node id are empty",
                               id),
                   "add it, or correct PROCESS_INSTANCE_ID");
        return;
    }
    if (id.empty()) {
        checker.environment(Severity::Warning, "empty-instance",
                            "PROCESS_INSTANCE_ID is empty: the entry \"\" is used", "");
    }
    if (!valueAt(file.tree, process).isObject()) {
        return;
    }
    checker.unknownMembers(file, process, {"nodeId", "IR", "local", "wss", "CORBA", "CORBA_SSL"});
    for (const char* group : {"IR", "local", "wss", "CORBA", "CORBA_SSL"}) {
        checker.unknownMembers(file, with(process, {group}), {"ip", "port"});
    }
    for (const char* group : {"IR", "local", "wss"}) {
        checkText(checker, file, with(process, {group, "ip"}), true);
    }
    std::map<int, std::string> ports;
    for (const char* group : {"wss", "local", "CORBA", "CORBA_SSL"}) {
        checkPort(checker, file, with(process, {group, "port"}), ports);
    }
    checkText(checker, file, with(process, {"nodeId"}), false);
}

void checkEntry(Checker& checker, const SourceFile& file, const Path& path) {
    const Json::Value& entry = valueAt(file.tree, path);
    if (!entry.isObject()) {
        checker.at(file, path, entry.isNull() ? Severity::Warning : Severity::Error,
                   "database-entry",
                   entry.isNull() ? "this entry is null: its fields are empty"
                                  : fmt::format("this entry is {} where an object is read: every "
                                                "query of its fields throws",
                                                kindOf(entry)));
        return;
    }
    checker.unknownMembers(file, path,
                           {"accessPort", "type", "user", "serviceName", "passwd", "serverName",
                            "accessHost", "instanceExt"});
    checker.unknownMembers(file, with(path, {"instanceExt"}), {"lib"});
    const std::vector<Path> texts = {
        {"type"},       {"user"},       {"serviceName"},       {"passwd"},
        {"serverName"}, {"accessHost"}, {"instanceExt", "lib"}};
    for (const Path& field : texts) {
        Path place = path;
        place.insert(place.end(), field.begin(), field.end());
        const Path parent(place.begin(), place.end() - 1);
        const Json::Value& owner = valueAt(file.tree, parent);
        const Json::Value& value = valueAt(file.tree, place);
        if (!owner.isNull() && !owner.isObject()) {
            checker.at(
                file, parent, Severity::Error, "wrong-type",
                fmt::format("this is {} where an object is read: its query throws", kindOf(owner)));
        } else if (value.isArray() || value.isObject()) {
            checker.at(file, place, Severity::Error, "wrong-type",
                       fmt::format("\"{}\" is {} where a text is read: its query throws",
                                   place.back(), kindOf(value)));
        } else {
            checkText(checker, file, place, false);
        }
    }
    const Path port = with(path, {"accessPort"});
    const Json::Value& value = valueAt(file.tree, port);
    if (!value.isNull() && (value.isString() || !value.isConvertibleTo(Json::intValue))) {
        checker.at(
            file, port, Severity::Error, "wrong-type",
            fmt::format("\"accessPort\" is {} where a whole number is read: its query throws",
                        kindOf(value)),
            "write it without quotes");
        return;
    }
    std::map<int, std::string> none;
    checkPort(checker, file, port, none);
}

void checkDatabases(Checker& checker, const SourceFile& file) {
    const Path member = {"databases"};
    const Json::Value& databases = valueAt(file.tree, member);
    if (databases.isNull() && file.tree.isObject()) {
        checker.at(file, member, Severity::Warning, "absent",
                   "\"databases\" is absent: there is no database");
    }
    if (!databases.isObject()) {
        return;
    }
    for (const std::string& name : databases.getMemberNames()) {
        const Json::Value& database = databases[name];
        const Path path = {"databases", name};
        if (name.empty()) {
            checker.member(file, path, Severity::Warning, "empty-id", "this database has no name");
        }
        if (!database.isArray()) {
            checker.at(file, path, database.isNull() ? Severity::Warning : Severity::Error,
                       "database-no-list",
                       fmt::format("database \"{}\" is {} where a list of entries is read{}", name,
                                   kindOf(database),
                                   database.isNull() ? "" : ": every query of its fields throws"),
                       "write its entries as a list");
            continue;
        }
        if (database.empty()) {
            checker.at(file, path, Severity::Warning, "database-empty",
                       fmt::format("database \"{}\" has no entry", name));
        }
        for (Json::ArrayIndex i = 0; i < database.size(); ++i) {
            checkEntry(checker, file, {"databases", name, std::to_string(i)});
        }
    }
}

} // namespace

void checkAppConfig(Checker& checker) {
    const SourceFile& file = checker.sources.appConfig;
    if (!file.loads) {
        return;
    }
    checkStops(checker, file);
    checker.unknownMembers(file, {}, {"databases", "processes"});
    checkProcess(checker, file);
    checkDatabases(checker, file);
}

} // namespace sysconfctl
