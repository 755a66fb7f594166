// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "check/TextFaults.h"
#include "deployment/JsonValues.h"
#include "render/Masking.h"

#include <rules/NodeList.h>

#include <fmt/format.h>

namespace sysconfctl {
namespace {

using located::Path;

/// Whether the database is a local file, which has no host, port, user or server.
bool isInFile(const Json::Value& entry) {
    return Quarncommon::rules::lowerCased(textAt(entry, {"type"})).starts_with("sqlite");
}

void checkAbsent(Checker& checker, const SourceFile& file, const Path& path,
                 const Json::Value& entry, bool needed) {
    if (checker.cause(file, path) != nullptr) {
        return;
    }
    const bool error = needed && !isInFile(entry);
    checker.at(file, path, error ? Severity::Error : Severity::Note, "absent",
               fmt::format("the database has no \"{}\"", path.back()));
}

void checkText(Checker& checker, const SourceFile& file, const Path& path, const Json::Value& entry,
               bool needed) {
    const Json::Value& value = valueAt(file.tree(), path);
    const std::string& name = path.back();
    if (file.document.find(path) == nullptr) {
        checkAbsent(checker, file, path, entry, needed);
    } else if (value.isNull()) {
        checker.at(file, path, Severity::Error, "null",
                   fmt::format("\"{}\" is null: it reads as \"\"", name), "set it, or remove it");
    } else if (value.isArray() || value.isObject()) {
        checker.at(
            file, path, Severity::Error, "wrong-type",
            fmt::format("\"{}\" is {} where a text is read: its query throws", name, kindOf(value)),
            "write it as a text");
    } else if (!value.isString()) {
        checker.at(file, path, Severity::Error, "odd-type",
                   fmt::format("\"{}\" is {} where a text is read", name, kindOf(value)),
                   "write it as a text");
    } else if (value.asString().empty()) {
        checker.at(file, path,
                   isInFile(entry) ? Severity::Note
                   : needed        ? Severity::Error
                                   : Severity::Warning,
                   "empty", fmt::format("\"{}\" is empty", name));
    } else if (!checker.hidden(file, path, value.asString()) && name == "accessHost") {
        const std::string host = value.asString();
        if (holdsLoginData(host)) {
            checker.at(file, path, Severity::Error, "not-an-address",
                       "this host contains login data: it is neither an address nor a host name",
                       "give only the address or the name of the host");
        } else if (isUnspecified(host)) {
            checker.at(
                file, path, Severity::Error, "unspecified-address",
                fmt::format("\"{}\" is not the address of a host: nothing can reach it", host),
                "give the address or the name of the host");
        } else if (!isHost(host) && !host.starts_with('/')) {
            checker.at(file, path, Severity::Error, "not-an-address",
                       fmt::format("\"{}\" is neither an address nor a host name", host));
        }
    }
}

void checkPort(Checker& checker, const SourceFile& file, const Path& path,
               const Json::Value& entry) {
    const Json::Value& value = valueAt(file.tree(), path);
    if (file.document.find(path) == nullptr) {
        checkAbsent(checker, file, path, entry, true);
    } else if (!value.isNull() && (value.isString() || !value.isConvertibleTo(Json::intValue))) {
        checker.at(
            file, path, Severity::Error, "wrong-type",
            fmt::format("\"accessPort\" is {} where a whole number is read: its query throws",
                        kindOf(value)),
            "write it as a number, without quotes");
    } else if (value.isNull() || value.isBool() || !value.isIntegral()) {
        checker.at(file, path, Severity::Error, "odd-type",
                   fmt::format("this port is {}: it reads as {}", kindOf(value), value.asInt()),
                   "write it as a whole number");
    } else if (value.asInt() < (isInFile(entry) ? 0 : 1) || value.asInt() > 65535) {
        checker.at(file, path, Severity::Error, "port-range",
                   fmt::format("port {} is out of range", value.asInt()),
                   "ports go from 1 to 65535");
    }
}

void checkEntry(Checker& checker, const SourceFile& file, const Path& path) {
    const Json::Value& entry = valueAt(file.tree(), path);
    if (!entry.isObject()) {
        checker.at(file, path, Severity::Error, entry.isNull() ? "null" : "wrong-type",
                   entry.isNull() ? "this entry is null: its fields are empty"
                                  : fmt::format("this entry is {} where an object is read: every "
                                                "query of its fields throws",
                                                kindOf(entry)),
                   "give the fields of the entry");
        return;
    }
    if (entry.empty()) {
        checker.at(file, path, Severity::Error, "empty", "this entry is empty",
                   "fill or remove it");
        return;
    }
    checker.unknownMembers(file, path,
                           {"accessPort", "type", "user", "serviceName", "passwd", "serverName",
                            "accessHost", "instanceExt"});
    for (const char* field : {"type", "accessHost", "user"}) {
        checkText(checker, file, with(path, {field}), entry, true);
    }
    for (const char* field : {"serviceName", "passwd", "serverName"}) {
        checkText(checker, file, with(path, {field}), entry, false);
    }
    const Path extension = with(path, {"instanceExt"});
    const Json::Value& more = valueAt(file.tree(), extension);
    if (file.document.find(extension) == nullptr) {
        checkAbsent(checker, file, extension, entry, false);
    } else if (!more.isObject()) {
        checker.at(file, extension, Severity::Error, more.isNull() ? "null" : "wrong-type",
                   fmt::format("\"instanceExt\" is {} where an object is read{}", kindOf(more),
                               more.isNull() ? "" : ": the query of the library throws"),
                   "write it as an object with \"lib\"");
    } else {
        checker.unknownMembers(file, extension, {"lib"});
        checkText(checker, file, with(extension, {"lib"}), entry, false);
    }
    checkPort(checker, file, with(path, {"accessPort"}), entry);
}

void checkDatabase(Checker& checker, const SourceFile& file, const std::string& name) {
    const Path path = {"databases", name};
    const Json::Value& database = valueAt(file.tree(), path);
    if (name.empty()) {
        checker.member(file, path, Severity::Error, "empty-id", "this database has no name");
    }
    checker.hidden(file, path, name, true);
    if (!database.isArray()) {
        checker.at(file, path, Severity::Error, database.isNull() ? "null" : "database-no-list",
                   fmt::format("database \"{}\" is {} where a list of entries is read{}", name,
                               kindOf(database),
                               database.isNull() ? "" : ": every query of its fields throws"),
                   "write its entries as a list");
    } else if (database.empty()) {
        checker.at(file, path, Severity::Error, "empty",
                   fmt::format("database \"{}\" has no entry", name), "add one, or remove it");
    } else {
        for (Json::ArrayIndex i = 0; i < database.size(); ++i) {
            checkEntry(checker, file, with(path, {std::to_string(i)}));
        }
    }
}

} // namespace

void checkDatabases(Checker& checker, const SourceFile& file) {
    const Path path = {"databases"};
    const Json::Value& databases = valueAt(file.tree(), path);
    if (databases.isObject() && !databases.empty()) {
        for (const std::string& name : databases.getMemberNames()) {
            checkDatabase(checker, file, name);
        }
    } else if (databases.isNull() && file.document.find(path) != nullptr) {
        checker.at(file, path, Severity::Error, "null", "\"databases\" is null: there is none",
                   "write {}, or remove it");
    } else if ((databases.isNull() || databases.isObject()) && file.tree().isObject() &&
               checker.cause(file, path) == nullptr) {
        checker.at(file, path, Severity::Note, "no-databases", "there is no database");
    }
}

} // namespace sysconfctl
