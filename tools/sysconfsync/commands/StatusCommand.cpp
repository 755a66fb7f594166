// SPDX-License-Identifier: Apache-2.0
#include "commands/SyncCommands.h"

#include "cli/SyncDiagnostics.h"
#include "commands/Publishing.h"
#include "commands/StoppableClient.h"
#include "render/Color.h"
#include "render/Grid.h"
#include "render/Json.h"
#include "render/Output.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <algorithm>

namespace sysconfsync {
namespace {

using sysconfctl::escaped;
using sysconfctl::Format;

constexpr const char* kCurrent = "current";
constexpr const char* kRefused = "refused";

struct NodeRow {
    std::string node;
    NodeStatus status;
    /// "current": runs the version or a newer one; "older": an older one; "refused"; "silent":
    /// has no status; "damaged": its status cannot be parsed; "removed": not a node of the version.
    std::string state;
};

std::string stateOf(const NodeStatus& status, std::int64_t version) {
    if (status.damaged) {
        return "damaged";
    }
    // For example after a restore: the node runs a version that is lost, and refuses the current
    // one.
    if (status.refused && status.refused->version <= status.version) {
        return kRefused;
    }
    return status.version >= version                              ? kCurrent
           : status.refused && status.refused->version >= version ? kRefused
                                                                  : "older";
}

std::vector<NodeRow> rowsOf(const std::set<std::string>& names, const Statuses& statuses,
                            std::int64_t version) {
    std::vector<NodeRow> rows;
    for (const std::string& name : names) {
        const auto known = statuses.nodes.find(name);
        rows.push_back(known == statuses.nodes.end()
                           ? NodeRow{name, {}, "silent"}
                           : NodeRow{name, known->second, stateOf(known->second, version)});
    }
    for (const auto& [name, status] : statuses.nodes) {
        if (!names.contains(name)) {
            rows.push_back({name, status, "removed"});
        }
    }
    return rows;
}

bool allRun(const std::vector<NodeRow>& rows) {
    return std::all_of(rows.begin(), rows.end(), [](const NodeRow& row) {
        return row.state == kCurrent || row.state == "removed";
    });
}

bool anyRefused(const std::vector<NodeRow>& rows) {
    return std::any_of(rows.begin(), rows.end(),
                       [](const NodeRow& row) { return row.state == kRefused; });
}

/// "node-1/etc/app.json:3:5: error: ..."
std::string findingText(const Json::Value& finding) {
    const auto text = [&](const char* member) {
        const bool has = finding.isObject() && finding[member].isString();
        return has ? escaped(finding[member].asString()) : "";
    };
    std::string place = text("file");
    for (const char* member : {"line", "column"}) {
        const std::int64_t number = integerAt(finding, member);
        place += number != 0 ? fmt::format(":{}", number) : "";
    }
    return fmt::format("{}{}: {}", place.empty() ? "" : place + ": ", text("severity"),
                       text("text"));
}

std::vector<std::string> findingLines(const NodeRow& row) {
    std::vector<std::string> lines;
    if (row.status.refused) {
        for (const Json::Value& finding : row.status.refused->findings) {
            lines.push_back(findingText(finding));
        }
    }
    return lines;
}

std::string refusalText(const NodeRow& row) {
    return row.status.refused ? fmt::format("version {} refused at {}", row.status.refused->version,
                                            escaped(row.status.refused->when))
                              : "";
}

std::string versionText(const NodeRow& row) {
    return row.status.version == 0 ? "none" : std::to_string(row.status.version);
}

std::string tableText(const std::vector<NodeRow>& rows, const SyncOptions& options) {
    std::vector<std::vector<sysconfctl::Cell>> cells;
    for (const NodeRow& row : rows) {
        sysconfctl::Cell state{row.state};
        if (row.status.refused) {
            state.push_back(refusalText(row));
            for (const std::string& line : findingLines(row)) {
                state.push_back(line);
            }
        }
        cells.push_back(
            {{escaped(row.node)}, {versionText(row)}, {escaped(row.status.since)}, state});
    }
    return sysconfctl::grid({{"NODE"}, {"VERSION"}, {"SINCE"}, {"STATE", 0, true}}, cells,
                            sysconfctl::outputWidth(), sysconfctl::colorWanted(options.color));
}

std::string plainText(const std::vector<NodeRow>& rows) {
    std::string text;
    for (const NodeRow& row : rows) {
        text += sysconfctl::joined({escaped(row.node), std::to_string(row.status.version),
                                    escaped(row.status.since), row.state, refusalText(row),
                                    sysconfctl::joined(findingLines(row), "; ")},
                                   "\t") +
                '\n';
    }
    return text;
}

std::string jsonText(const std::vector<NodeRow>& rows, const Current& current,
                     std::int64_t version) {
    Json::Value value;
    value["schemaVersion"] = sysconfctl::kSchemaVersion;
    value["current"] = toJson(*current.info);
    value["version"] = Json::Int64(version);
    value["nodes"] = Json::Value(Json::arrayValue);
    for (const NodeRow& row : rows) {
        Json::Value node = toJson(row.status);
        node["node"] = row.node;
        node["state"] = row.state;
        value["nodes"].append(node);
    }
    return sysconfctl::indentedJson(value);
}

std::string outputText(const std::vector<NodeRow>& rows, const Current& current,
                       std::int64_t version, const SyncOptions& options) {
    switch (options.format) {
    case Format::Json:
        return jsonText(rows, current, version);
    case Format::Plain:
        return plainText(rows);
    default:
        return describe(*current.info) + " is current\n\n" + tableText(rows, options);
    }
}

} // namespace

SyncStatus runStatus(const SyncOptions& options) {
    StoppableClient client(options.connection);
    Store store(client, options.prefix);
    const Current current = store.current();
    const std::int64_t version = options.wait.value_or(current.version());
    if (!current.info || version > current.version()) {
        sysconfctl::reportError(sysconfctl::diagnostic::kRefused,
                                current.info
                                    ? fmt::format("version {} has not been published yet", version)
                                    : "nothing has been published yet");
        return SyncStatus::Refused;
    }
    const std::set<std::string> names = store.nodeNames(version);
    if (names.empty()) {
        sysconfctl::reportError(sysconfctl::diagnostic::kRefused, noVersionText(version));
        return SyncStatus::Refused;
    }
    Statuses statuses = store.statuses();
    std::vector<NodeRow> rows = rowsOf(names, statuses, version);
    const auto undecided = [&] { return !allRun(rows) && !anyRefused(rows); };
    if (options.wait && undecided()) {
        const auto deadline =
            options.timeout ? Clock::now() + *options.timeout : Clock::time_point::max();
        const WatchEnd end = store.watchStatuses(
            statuses,
            [&] {
                rows = rowsOf(names, statuses, version);
                return undecided();
            },
            deadline);
        if (end == WatchEnd::Expired) {
            sysconfctl::reportError(sysconfctl::diagnostic::kRefused,
                                    fmt::format("not all nodes run version {} after {} s", version,
                                                options.timeout->count()));
        }
    }
    sysconfctl::writeOutput(outputText(rows, current, version, options));
    return allRun(rows) ? SyncStatus::Done : SyncStatus::Refused;
}

} // namespace sysconfsync
