// SPDX-License-Identifier: Apache-2.0
#include "commands/DryRun.h"

#include "commands/Publishing.h"
#include "diff/Comparison.h"
#include "render/Json.h"
#include "render/Output.h"
#include "render/Text.h"
#include "tree/DeploymentTree.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <system_error>

namespace sysconfsync {
namespace {

namespace fs = std::filesystem;

class TemporaryFolder {
public:
    TemporaryFolder() : m_path(fs::temp_directory_path() / "sysconfsync-XXXXXX") {
        if (::mkdtemp(m_path.data()) == nullptr) {
            throw std::system_error(errno, std::system_category(), m_path);
        }
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

struct NodeChange {
    std::string node;
    std::string change;
};

std::vector<NodeChange> changesOf(const Nodes& before, const Nodes& after) {
    std::vector<NodeChange> changes;
    for (const auto& [node, files] : after) {
        const auto old = before.find(node);
        if (old == before.end()) {
            changes.push_back({node, "added"});
        } else if (old->second != files) {
            changes.push_back({node, "changed"});
        }
    }
    for (const auto& [node, files] : before) {
        if (!after.contains(node)) {
            changes.push_back({node, "removed"});
        }
    }
    return changes;
}

/// The answers of all processes before and after. Relative names, so that places are shown as
/// "version-7/node-1/...".
sysconfctl::Comparison compareVersions(const Nodes& before, const Nodes& after,
                                       const Current& base) {
    const TemporaryFolder folder;
    fs::current_path(folder.path());
    const std::string a = fmt::format("version-{}", base.version());
    const std::string b = fmt::format("version-{}", base.version() + 1);
    writeTree(before, a);
    writeTree(after, b);
    sysconfctl::Side left(a, std::vector<std::string>());
    sysconfctl::Side right(b, std::vector<std::string>());
    return sysconfctl::compare(left, right, {}, false);
}

std::string tableText(const std::vector<NodeChange>& changes,
                      const std::optional<sysconfctl::Comparison>& comparison,
                      const Transaction& publication, const SyncOptions& options) {
    std::string text;
    for (const NodeChange& one : changes) {
        text += fmt::format("{} is {}\n", sysconfctl::escaped(one.node), one.change);
    }
    text += changes.empty() ? "no node changes\n" : "";
    text += sizeText(publication) + '\n';
    if (comparison && !changes.empty()) {
        text += '\n' + sysconfctl::comparisonTable(*comparison, sysconfctl::outputWidth(),
                                                   sysconfctl::colorWanted(options.color));
    }
    return text;
}

std::string plainText(const std::vector<NodeChange>& changes,
                      const std::optional<sysconfctl::Comparison>& comparison) {
    std::string text;
    for (const NodeChange& one : changes) {
        text += "node\t" + sysconfctl::escaped(one.node) + '\t' + one.change + '\n';
    }
    return text + (comparison ? sysconfctl::comparisonPlain(*comparison) : "");
}

std::string jsonText(const std::vector<NodeChange>& changes,
                     const std::optional<sysconfctl::Comparison>& comparison,
                     const Transaction& publication, const Current& base) {
    Json::Value value;
    value["schemaVersion"] = sysconfctl::kSchemaVersion;
    value["basedOn"] = Json::Int64(base.version());
    value["operations"] = Json::UInt64(publication.success.size());
    value["bytes"] = Json::UInt64(requestBytes(publication));
    value["nodes"] = Json::Value(Json::arrayValue);
    for (const NodeChange& one : changes) {
        Json::Value row;
        row["node"] = one.node;
        row["change"] = one.change;
        value["nodes"].append(row);
    }
    value["diff"] = comparison ? sysconfctl::toJson(*comparison) : Json::Value();
    return sysconfctl::indentedJson(value);
}

} // namespace

std::string dryRun(const Nodes& before, const Nodes& after, const Current& base,
                   const Transaction& publication, const SyncOptions& options) {
    const std::vector<NodeChange> changes = changesOf(before, after);
    std::optional<sysconfctl::Comparison> comparison;
    if (!before.empty()) {
        comparison = compareVersions(before, after, base);
    }
    switch (options.format) {
    case sysconfctl::Format::Json:
        return jsonText(changes, comparison, publication, base);
    case sysconfctl::Format::Plain:
        return plainText(changes, comparison);
    default:
        return tableText(changes, comparison, publication, options);
    }
}

} // namespace sysconfsync
