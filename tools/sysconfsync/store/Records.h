// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

/// The records in etcd and their JSON. P is the prefix, which ends with "/":
///
///   P current                   the info of the current version; its revision guards publishing
///   P versions/N/info           the info of version N
///   P versions/N/nodes/NODE     {"files": {PATH: {"text": BASE64} or {"shared": SHA256}}}
///   P versions/N/files/SHA256   the bytes of a file that several nodes have
///   P status/NODE               which version the node runs, and which one it refused
///
/// Keys below versions/ are written once, with the version, and never changed.
namespace sysconfsync {

struct Info {
    std::int64_t version = 0;
    /// "user@host"
    std::string who = {};
    /// UTC, "2026-11-22T14:00:00Z"
    std::string when = {};
    /// 0: no version.
    std::int64_t basedOn = 0;
    std::string message = {};
    /// Random. Shows a publisher whose connection failed whether this version is its own.
    std::string id = {};
};

struct Refusal {
    std::int64_t version = 0;
    std::string when = {};
    /// An array, as in the JSON output of `sysconfctl check`.
    Json::Value findings = Json::Value(Json::arrayValue);
};

struct NodeStatus {
    /// 0: none has been applied.
    std::int64_t version = 0;
    std::string since = {};
    std::optional<Refusal> refused = std::nullopt;
    /// Whether the record cannot be parsed. Never stored.
    bool damaged = false;
};

/// The bytes of each file, by its path relative to the folder of the node.
using Files = std::map<std::string, std::string>;
using Nodes = std::map<std::string, Files>;

std::string toText(const Info& info);
std::string toText(const NodeStatus& status);
/// @throws EtcdError (Malformed) if the text does not have the expected form. So do the others.
Info parseInfo(std::string_view text);
NodeStatus parseStatus(std::string_view text);

Json::Value toJson(const Info& info);
Json::Value toJson(const NodeStatus& status);

/// The record of a node. A file whose sum is in `shared` is stored there.
std::string nodeText(const Files& files, const std::map<std::string, std::string>& shared);
std::set<std::string> sharedSums(std::string_view text);
/// The files of a node's record, the shared ones from `shared`, by their sums.
/// @throws EtcdError also for a path that does not lead into the folder of the node.
Files parseNode(std::string_view text, const std::map<std::string, std::string>& shared);
/// The files of several nodes, by their sums.
std::map<std::string, std::string> sharedFiles(const Nodes& nodes);

/// Whether a path is relative, normal and leads to a file in its folder.
bool isPathInside(const std::string& path);

std::string timeText();

} // namespace sysconfsync
