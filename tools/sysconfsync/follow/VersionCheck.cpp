// SPDX-License-Identifier: Apache-2.0
#include "follow/VersionCheck.h"

#include "follow/Folder.h"

#include <check/Finding.h>
#include <check/Report.h>
#include <cli/UsageError.h>
#include <render/Text.h>

#include <fmt/format.h>

namespace sysconfsync {
namespace {

namespace fs = std::filesystem;

/// Whether a folder on the way to the file has the path of another file.
bool isBelowFile(const std::string& path, const Files& files) {
    for (std::size_t slash = path.find('/'); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        if (files.contains(path.substr(0, slash))) {
            return true;
        }
    }
    return false;
}

/// Paths in the finding are relative to the folder of the version.
Json::Value toJson(const sysconfctl::Finding& finding, const fs::path& folder) {
    Json::Value row = sysconfctl::findingJson(finding, false);
    const auto shorten = [&](Json::Value& place) {
        if (place.isMember("file")) {
            place["file"] = fs::path(place["file"].asString()).lexically_relative(folder).string();
        }
    };
    shorten(row);
    for (Json::Value& related : row["related"]) {
        shorten(related);
    }
    return row;
}

Json::Value errorsOf(const sysconfctl::Inventory& inventory, const fs::path& folder) {
    Json::Value errors(Json::arrayValue);
    for (const sysconfctl::Finding& finding : sysconfctl::check(inventory).findings) {
        if (finding.severity == sysconfctl::Severity::Error) {
            errors.append(toJson(finding, folder));
        }
    }
    return errors;
}

} // namespace

Json::Value findingOf(const char* name, const std::string& text) {
    Json::Value row(Json::objectValue);
    row["severity"] = "error";
    row["name"] = name;
    row["text"] = text;
    return row;
}

Json::Value pathFaults(const Files& files) {
    Json::Value faults(Json::arrayValue);
    for (const auto& [path, bytes] : files) {
        if (path == Folder::kVersionFile || isBelowFile(path, files)) {
            faults.append(findingOf(
                "path", fmt::format("\"{}\" is already the path of another file, or below one",
                                    sysconfctl::escaped(path))));
        }
    }
    return faults;
}

CheckOutcome checkVersion(const fs::path& folder, const std::list<std::string>& hostAddresses) {
    CheckOutcome outcome{Json::Value(Json::arrayValue)};
    try {
        sysconfctl::Inventory inventory = sysconfctl::inventoryOf({folder.string()}, {});
        outcome.errors = errorsOf(inventory, folder);
        if (outcome.errors.empty()) {
            inventory.hostAddresses = hostAddresses;
            outcome.errors = errorsOf(inventory, folder);
            outcome.dependsOnHost = !outcome.errors.empty();
        }
    } catch (const sysconfctl::UsageError&) {
        outcome.errors.append(
            findingOf("no-file", "the version has no file that the library reads"));
    }
    return outcome;
}

} // namespace sysconfsync
