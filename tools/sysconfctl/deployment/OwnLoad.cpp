// SPDX-License-Identifier: Apache-2.0
#include "deployment/OwnLoad.h"

#include "deployment/CallerDirectory.h"
#include "render/Text.h"

#include <config/ConfigFiles.h>

#include <SysConfReaderStatus.h>

#include <fmt/format.h>

#include <system_error>

namespace sysconfctl {
namespace {

using Status = Quarncommon::SysConfReaderStatus;
namespace config = Quarncommon::config;

bool isFailure(const Status::File& file) {
    return file.outcome != Status::Outcome::Loaded && file.outcome != Status::Outcome::NotRead;
}

std::string outcomeOf(const Status::File& file) {
    std::string text = Status::text(file.outcome);
    if (file.line != 0) {
        text += fmt::format(" at {}:{}", file.line, file.column);
    }
    if (*file.pointer != '\0') {
        text += fmt::format(" at {}", file.pointer);
    }
    if (file.outcome == Status::Outcome::Unreadable && file.error != 0) {
        text += fmt::format(": {}", std::system_category().message(file.error));
    }
    return text;
}

/// @param other The same file in the load of the other reader.
LoadedFile loadedFile(std::string_view name, const config::ConfigFile& source,
                      const Status::File& file, const Status::File& other) {
    const Status::File& shown = isFailure(other) ? other : file;
    const auto path = config::pathIfSet(source);
    return {name, path ? pathForCaller(*path) : "", shown.outcome == Status::Outcome::Loaded,
            path ? outcomeOf(shown) : fmt::format("{} is not set", source.variable)};
}

} // namespace

OwnLoad ownLoad() {
    const Status status = Status::read();
    std::string subscription = Status::text(status.subscription);
    if (*status.eventLibrary != '\0') {
        subscription += fmt::format(" through {}", status.eventLibrary);
    }
    return {
        status.lastLoad,
        std::move(subscription),
        {loadedFile("app-config", config::kAppConfig, status.reader.appConfig,
                    status.roles.appConfig),
         loadedFile("node-list", config::kNodeList, status.reader.nodeList, status.roles.nodeList),
         loadedFile("manager-node-list", config::kManagerNodeList, status.roles.managerNodeList,
                    status.roles.managerNodeList)}};
}

std::vector<OwnLoadLine> linesOf(const OwnLoad& load) {
    std::vector<OwnLoadLine> lines = {{"load", std::to_string(load.number)},
                                      {"subscription", escaped(load.subscription)}};
    for (const LoadedFile& file : load.files) {
        const std::string text =
            file.path.empty() ? file.outcome : fmt::format("{}: {}", file.path, file.outcome);
        lines.push_back({std::string(file.name), escaped(text)});
    }
    return lines;
}

Json::Value toJson(const OwnLoad& load) {
    Json::Value value;
    value["number"] = static_cast<Json::UInt64>(load.number);
    value["subscription"] = load.subscription;
    value["files"] = Json::Value(Json::arrayValue);
    for (const LoadedFile& file : load.files) {
        Json::Value one;
        one["name"] = std::string(file.name);
        one["path"] = file.path;
        one["loaded"] = file.loaded;
        one["outcome"] = file.outcome;
        value["files"].append(one);
    }
    return value;
}

} // namespace sysconfctl
