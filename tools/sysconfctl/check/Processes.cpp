// SPDX-License-Identifier: Apache-2.0
#include "check/Checker.h"

#include "check/TextFaults.h"
#include "cli/Suggestion.h"
#include "deployment/JsonValues.h"
#include "deployment/TypeMismatches.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace sysconfctl {
namespace {

using located::Path;

bool isIrregular(const Json::Value& process) {
    const auto isTextOrNull = [](const Json::Value& value) {
        return value.isNull() || !(value.isArray() || value.isObject());
    };
    const auto isPortOrNull = [](const Json::Value& value) {
        return value.isNull() || value.isConvertibleTo(Json::intValue);
    };
    if (!process.isObject() || !isTextOrNull(process["nodeId"])) {
        return true;
    }
    static constexpr const char* kGroups[] = {"IR", "local", "wss", "CORBA", "CORBA_SSL"};
    return std::ranges::any_of(kGroups, [&](const char* group) {
        const Json::Value& value = process[group];
        if (!value.isObject()) {
            return !value.isNull();
        }
        return !isTextOrNull(value["ip"]) || value["port"].isString() ||
               !isPortOrNull(value["port"]);
    });
}

/// Reports them in the order of a load, which stops at the first one.
void checkStops(Checker& checker, const SourceFile& file, const std::string& id) {
    Finding* first = nullptr;
    for (const TypeMismatch& mismatch : appConfigMismatches(file.tree(), id)) {
        if (Finding* const cause = checker.cause(file, mismatch.path)) {
            first = first == nullptr ? cause : first;
            continue;
        }
        const std::string what =
            mismatch.path.empty() ? "the root" : '"' + mismatch.path.back() + '"';
        Finding& finding = checker.at(
            file, mismatch.path, Severity::Error, "wrong-type",
            fmt::format("{} {}: the load stops here", what, describe(mismatch, file.tree())),
            "correct its type");
        if (first == nullptr) {
            first = &finding;
            finding.consequences.emplace_back("everything that is read after it keeps its previous "
                                              "value: ports, node id, host tag and float node");
        }
    }
}

/// The whole object that contains the address may be absent.
void checkProcessAddress(Checker& checker, const SourceFile& file, const Path& group) {
    const Path path = with(group, {"ip"});
    const Json::Value& value = valueAt(file.tree(), path);
    const std::string text = textAt(valueAt(file.tree(), group), {"ip"});
    if (checker.cause(file, path) != nullptr || value.isArray() || value.isObject()) {
        return;
    }
    if (file.document.find(path) == nullptr) {
        const bool hasPort = file.document.find(with(group, {"port"})) != nullptr;
        checker.at(file, path, hasPort ? Severity::Error : Severity::Note, "absent",
                   hasPort ? fmt::format("\"{}\" has a port but no \"ip\": its address is empty",
                                         group.back())
                           : fmt::format("the process has no address \"{}\"", group.back()));
    } else if (text.empty()) {
        checker.at(file, path, Severity::Error, "empty",
                   fmt::format("\"ip\" of \"{}\" is empty", group.back()), "give the address");
    } else if (!checker.hidden(file, path, text)) {
        if (isUnspecified(text)) {
            checker.at(
                file, path, Severity::Error, "unspecified-address",
                fmt::format("\"{}\" is not the address of a host: nothing can reach it", text),
                "give the address itself");
        } else if (!isAddress(text) && text != "localhost") {
            checker.at(file, path, Severity::Error, "not-an-address",
                       fmt::format("\"{}\" is not an IPv4 or IPv6 address", text));
        }
    }
}

void checkPort(Checker& checker, const SourceFile& file, const Path& group,
               std::map<std::pair<int, std::string>, Path>& ports) {
    const Path path = with(group, {"port"});
    const Json::Value& value = valueAt(file.tree(), path);
    if (checker.cause(file, path) != nullptr) {
        return;
    }
    if (file.document.find(path) == nullptr) {
        checker.at(file, path, Severity::Note, "absent",
                   fmt::format("the process has no port \"{}\"", group.back()));
        return;
    }
    if (value.isNull() || value.isBool() || !value.isIntegral()) {
        checker.at(file, path, Severity::Error, "odd-type",
                   fmt::format("this port is {}: it reads as {}", kindOf(value), value.asInt()),
                   "write it as a whole number");
        return;
    }
    const int port = value.asInt();
    if (port < 1 || port > 65535) {
        checker.at(file, path, Severity::Error, "port-range",
                   fmt::format("port {} is out of range", port), "ports go from 1 to 65535");
        return;
    }
    const std::string address = textAt(valueAt(file.tree(), group), {"ip"});
    const auto [same, isNew] = ports.emplace(std::make_pair(port, address), path);
    if (!isNew) {
        Finding& finding =
            checker.at(file, path, Severity::Error, "equal-ports",
                       fmt::format("port {} is also that of {}: one of the two cannot listen", port,
                                   located::pointer(same->second)),
                       "give each its own port");
        Checker::relate(finding, file, same->second, "the other port");
    }
}

void checkNodeId(Checker& checker, const SourceFile& file, const Path& process) {
    const Path path = with(process, {"nodeId"});
    const Json::Value& value = valueAt(file.tree(), path);
    if (checker.cause(file, path) != nullptr || value.isArray() || value.isObject()) {
        return;
    }
    if (value.isNull() || value.asString().empty()) {
        checker
            .at(file, path, Severity::Error, "no-node-id",
                fmt::format("process \"{}\" has no \"nodeId\"", process.back()),
                "give the key of its node in the node list")
            .consequences.emplace_back("every address that is read for its node is empty");
    } else {
        checker.hidden(file, path, value.asString());
    }
}

void checkProcess(Checker& checker, const SourceFile& file, const std::string& id) {
    const Path path = {"processes", id};
    const Json::Value& process = valueAt(file.tree(), path);
    checker.hidden(file, path, id, true);
    if (process.isNull()) {
        checker
            .at(file, path, Severity::Error, "null",
                fmt::format("process \"{}\" is null: every value of it is empty or 0", id),
                "complete the entry, or remove it")
            .consequences.emplace_back("its node is unknown, and so are the node's addresses");
        return;
    }
    if (isIrregular(process)) {
        checkStops(checker, file, id);
    }
    if (!process.isObject()) {
        return;
    }
    checker.unknownMembers(file, path, {"nodeId", "IR", "local", "wss", "CORBA", "CORBA_SSL"});
    std::map<std::pair<int, std::string>, Path> ports;
    for (const char* name : {"IR", "local", "wss", "CORBA", "CORBA_SSL"}) {
        const Path group = with(path, {name});
        const Json::Value& value = valueAt(file.tree(), group);
        const bool named = file.document.find(group) != nullptr;
        const bool hasAddress = std::string_view(name).find("CORBA") == std::string_view::npos;
        if (!named) {
            if (checker.cause(file, group) == nullptr) {
                checker.at(file, group, Severity::Note, "absent",
                           fmt::format("process \"{}\" has no \"{}\"", id, name));
            }
        } else if (value.isNull() || (value.isObject() && value.empty())) {
            checker.at(file, group, Severity::Error, value.isNull() ? "null" : "empty",
                       fmt::format("\"{}\" is {}: what is read from it is empty or 0", name,
                                   value.isNull() ? "null" : "empty"),
                       "fill it, or remove it");
        } else if (value.isObject()) {
            checker.unknownMembers(file, group, {"ip", "port"});
            if (hasAddress) {
                checkProcessAddress(checker, file, group);
            }
            if (std::string_view(name) != "IR") {
                checkPort(checker, file, group, ports);
            }
        }
    }
    checkNodeId(checker, file, path);
}

} // namespace

void checkProcesses(Checker& checker, const SourceFile& file) {
    checker.unknownMembers(file, {}, {"databases", "processes"});
    const Path member = {"processes"};
    const Json::Value& processes = valueAt(file.tree(), member);
    if ((!file.tree().isNull() && !file.tree().isObject()) ||
        (!processes.isNull() && !processes.isObject())) {
        checkStops(checker, file, "");
        return;
    }
    if (!valueAt(file.tree(), {"databases"}).isNull() &&
        !valueAt(file.tree(), {"databases"}).isObject()) {
        checkStops(checker, file, "");
    }
    if (processes.empty()) {
        if (checker.cause(file, {"processes"}) == nullptr) {
            checker.member(file, {"processes"}, Severity::Error, "no-processes",
                           "the file has no process: ports, addresses and node id are empty",
                           "add the processes under \"processes\"");
        }
        return;
    }
    for (const std::string& id : processes.getMemberNames()) {
        checkProcess(checker, file, id);
    }
}

void checkInstance(Checker& checker, const View& view) {
    if (!view.instance || view.appConfig == nullptr || !view.appConfig->loads) {
        return;
    }
    const SourceFile& file = *view.appConfig;
    const Path member = {"processes"};
    const Json::Value& processes = valueAt(file.tree(), member);
    if (!processes.isObject() || processes.empty()) {
        return;
    }
    if (processes.isMember(*view.instance)) {
        if (view.instance->empty()) {
            checker.environment(Severity::Warning, "empty-instance",
                                "PROCESS_INSTANCE_ID is empty: the entry \"\" is used", "");
        }
        return;
    }
    const std::vector<std::string> ids = processes.getMemberNames();
    std::string near = suggestion(*view.instance, {ids.begin(), ids.end()});
    near = near.empty() && ids.size() == 1 ? ids.front() : near;
    // If no entry has a similar name, the variable is as likely to be wrong.
    const Path place = near.empty() ? Path{"processes"} : Path{"processes", near};
    Finding& finding = checker.member(
        file, place, Severity::Error, "no-instance",
        fmt::format("there is no process \"{}\", the value of PROCESS_INSTANCE_ID{}",
                    *view.instance, near.empty() ? "" : fmt::format(", but \"{}\"", near)),
        "correct PROCESS_INSTANCE_ID, or the name of the entry");
    finding.consequences.emplace_back("ports, addresses of the process and the node id are empty");
}

} // namespace sysconfctl
