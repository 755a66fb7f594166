// SPDX-License-Identifier: Apache-2.0
#include "store/Records.h"

#include "etcd/Encoding.h"
#include "etcd/EtcdError.h"
#include "etcd/Requests.h"
#include "render/Json.h"
#include "render/Text.h"

#include <fmt/chrono.h>

#include <chrono>
#include <filesystem>

namespace sysconfsync {
namespace {

/// @throws EtcdError if the member has another type.
const Json::Value& checked(const Json::Value& object, const char* member, Json::ValueType type) {
    const Json::Value& value = object[member];
    if (!value.isNull() && value.type() != type) {
        throw EtcdError(Failure::Malformed,
                        fmt::format("a value in etcd has a \"{}\" of another type", member));
    }
    return value;
}

std::string textAt(const Json::Value& object, const char* member) {
    return checked(object, member, Json::stringValue).asString();
}

} // namespace

Json::Value toJson(const Info& info) {
    Json::Value value;
    value["version"] = Json::Int64(info.version);
    value["who"] = info.who;
    value["when"] = info.when;
    value["basedOn"] = Json::Int64(info.basedOn);
    value["message"] = info.message;
    value["id"] = info.id;
    return value;
}

Json::Value toJson(const NodeStatus& status) {
    Json::Value value;
    value["version"] = Json::Int64(status.version);
    value["since"] = status.since;
    value["refused"] = Json::Value();
    if (status.refused) {
        value["refused"]["version"] = Json::Int64(status.refused->version);
        value["refused"]["when"] = status.refused->when;
        value["refused"]["findings"] = status.refused->findings;
    }
    return value;
}

std::string toText(const Info& info) {
    return sysconfctl::compactJson(toJson(info));
}

std::string toText(const NodeStatus& status) {
    return sysconfctl::compactJson(toJson(status));
}

Info parseInfo(std::string_view text) {
    const Json::Value value = parsedObject(text);
    return {.version = integerAt(value, "version"),
            .who = textAt(value, "who"),
            .when = textAt(value, "when"),
            .basedOn = integerAt(value, "basedOn"),
            .message = textAt(value, "message"),
            .id = textAt(value, "id")};
}

NodeStatus parseStatus(std::string_view text) {
    const Json::Value value = parsedObject(text);
    NodeStatus status{integerAt(value, "version"), textAt(value, "since"), std::nullopt};
    const Json::Value& refused = checked(value, "refused", Json::objectValue);
    if (!refused.isNull()) {
        const Json::Value& findings = checked(refused, "findings", Json::arrayValue);
        status.refused = Refusal{integerAt(refused, "version"), textAt(refused, "when"),
                                 findings.isNull() ? Json::Value(Json::arrayValue) : findings};
    }
    return status;
}

std::string nodeText(const Files& files, const std::map<std::string, std::string>& shared) {
    Json::Value value;
    value["files"] = Json::Value(Json::objectValue);
    for (const auto& [path, text] : files) {
        const std::string sum = sha256(text);
        if (shared.contains(sum)) {
            value["files"][path]["shared"] = sum;
        } else {
            value["files"][path]["text"] = toBase64(text);
        }
    }
    return sysconfctl::compactJson(value);
}

std::set<std::string> sharedSums(std::string_view text) {
    std::set<std::string> sums;
    const Json::Value value = parsedObject(text);
    for (const Json::Value& file : checked(value, "files", Json::objectValue)) {
        if (file.isObject() && file.isMember("shared")) {
            sums.insert(textAt(file, "shared"));
        }
    }
    return sums;
}

Files parseNode(std::string_view text, const std::map<std::string, std::string>& shared) {
    Files files;
    const Json::Value value = parsedObject(text);
    const Json::Value& rows = checked(value, "files", Json::objectValue);
    for (const std::string& path : rows.getMemberNames()) {
        const Json::Value& file = checked(rows, path.c_str(), Json::objectValue);
        if (!isPathInside(path)) {
            throw EtcdError(Failure::Malformed, "a node in etcd has a file outside its folder: " +
                                                    sysconfctl::shellWord(path));
        }
        if (!file.isMember("shared")) {
            if (!file["text"].isString()) {
                throw EtcdError(Failure::Malformed, "a node in etcd has a file without content: " +
                                                        sysconfctl::shellWord(path));
            }
            files[path] = fromBase64(file["text"].asString());
            continue;
        }
        const std::string sum = textAt(file, "shared");
        const auto found = shared.find(sum);
        if (found == shared.end() || sha256(found->second) != sum) {
            throw EtcdError(Failure::Malformed,
                            fmt::format("a shared file is missing or damaged in etcd: {}", sum));
        }
        files[path] = found->second;
    }
    return files;
}

std::map<std::string, std::string> sharedFiles(const Nodes& nodes) {
    std::map<std::string, std::string> shared;
    std::set<std::string> once;
    for (const auto& [name, files] : nodes) {
        std::set<std::string> ofNode;
        for (const auto& [path, text] : files) {
            const std::string sum = sha256(text);
            if (ofNode.insert(sum).second && !once.insert(sum).second) {
                shared.emplace(sum, text);
            }
        }
    }
    return shared;
}

bool isPathInside(const std::string& path) {
    const std::filesystem::path parsed(path);
    return !path.empty() && path.find('\0') == std::string::npos && parsed.is_relative() &&
           parsed.has_filename() && parsed.lexically_normal() == parsed &&
           *parsed.begin() != ".." && path != ".";
}

std::string timeText() {
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(now));
}

} // namespace sysconfsync
