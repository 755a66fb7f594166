// SPDX-License-Identifier: Apache-2.0
#include "tree/DeploymentTree.h"

#include "check/Checker.h"
#include "cli/Environment.h"
#include "cli/FileBytes.h"
#include "cli/UsageError.h"
#include "deployment/JsonValues.h"
#include "etcd/Encoding.h"
#include "etcd/EtcdError.h"
#include "etcd/Requests.h"
#include "follow/VersionCheck.h"
#include "render/Json.h"
#include "render/Output.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <filesystem>
#include <set>
#include <system_error>

namespace sysconfsync {
namespace {

namespace fs = std::filesystem;
using sysconfctl::shellWord;
using sysconfctl::SourceFile;
using sysconfctl::View;

std::string statePath(const std::string& directory) {
    return fs::path(directory) / ".sysconfsync";
}

/// The node of the processes of a view; "" if there is none, or more than one.
std::string nodeOf(const View& view) {
    if (view.appConfig == nullptr) {
        return {};
    }
    const sysconfctl::located::Path path = {"processes"};
    const Json::Value& processes = sysconfctl::valueAt(view.appConfig->tree(), path);
    std::set<std::string> ids;
    if (view.instance) {
        ids.insert(sysconfctl::textAt(processes, {*view.instance, "nodeId"}));
    } else {
        for (const Json::Value& process : processes) {
            ids.insert(sysconfctl::textAt(process, {"nodeId"}));
        }
    }
    return ids.size() == 1 ? *ids.begin() : "";
}

bool isPathVariable(const std::string& name) {
    return name == "APP_CONF_FILE" || name == "APP_ROOT" || name == "TOLM_ROOT";
}

class Collector {
public:
    explicit Collector(const std::string& directory)
        : m_root(fs::absolute(directory + "/.").lexically_normal()) {}

    void add(const View& view) {
        const sysconfctl::EnvFilePaths& paths = *view.paths;
        const std::string node = nodeOf(view);
        if (node.empty()) {
            problem(paths.envFile, "its process has no node: set PROCESS_INSTANCE_ID, and nodeId "
                                   "in the app config file");
            return;
        }
        for (const auto& [variable, value] : sysconfctl::parseEnvFile(paths.text, paths.envFile)) {
            if (fs::path(value).is_absolute() && isPathVariable(variable)) {
                problem(paths.envFile, variable + " is an absolute path, which leads elsewhere on "
                                                  "the node; name it relative to this file");
            }
        }
        addFile(node, paths.envFile, paths.envFile, paths.text);
        addFile(node, paths, paths.appConfig, view.appConfig);
        addFile(node, paths, paths.nodeList, view.nodeList);
        addFile(node, paths, paths.managerNodeList, view.managerNodeList);
    }

    CollectedTree collected;

private:
    void problem(const std::string& envFile, const std::string& sentence) {
        collected.problems.push_back(shellWord(envFile) + ": " + sentence);
    }

    /// A file that cannot be read is reported by the check.
    void addFile(const std::string& node, const sysconfctl::EnvFilePaths& paths,
                 const std::string& path, const SourceFile* file) {
        if (file != nullptr && file->unreadable.empty()) {
            addFile(node, paths.envFile, path, std::string(file->document.text()));
        }
    }

    void addFile(const std::string& node, const std::string& envFile, const std::string& path,
                 const std::string& text) {
        const fs::path inside = fs::absolute(path).lexically_normal().lexically_relative(m_root);
        if (!isPathInside(inside)) {
            problem(envFile, fmt::format("{} is not in the published folder; name it by a path "
                                         "relative to this file",
                                         shellWord(path)));
            return;
        }
        collected.nodes[node][inside] = text;
    }

    fs::path m_root;
};

/// Texts in records are JSON, which replaces other bytes.
bool isUtf8(const std::string& text) {
    Json::Value value;
    value["text"] = text;
    return parsedObject(sysconfctl::compactJson(value))["text"] == text;
}

/// Why the node could not have its files.
std::vector<std::string> faultsOf(const std::string& node, const Files& files) {
    std::vector<std::string> faults;
    for (const Json::Value& fault : pathFaults(files)) {
        faults.push_back(fault["text"].asString());
    }
    for (const auto& [path, text] : files) {
        if (!isUtf8(node) || !isUtf8(path)) {
            faults.push_back(shellWord(path) + ": the path or the name of the node is not UTF-8");
        }
    }
    return faults;
}

} // namespace

CollectedTree collectTree(const sysconfctl::Inventory& inventory, const std::string& directory) {
    Collector collector(directory);
    std::set<const SourceFile*> named;
    for (const View& view : inventory.views) {
        if (view.paths) {
            collector.add(view);
            named.insert({view.appConfig, view.nodeList, view.managerNodeList});
        }
    }
    CollectedTree tree = std::move(collector.collected);
    for (const std::string& sentence : inventory.leftOut) {
        tree.problems.push_back(sentence + ": its processes would not be published");
    }
    for (const SourceFile& file : inventory.files) {
        if (!named.contains(&file)) {
            tree.leftOut.push_back(file.path);
        }
    }
    for (const auto& [node, files] : tree.nodes) {
        for (const std::string& fault : faultsOf(node, files)) {
            tree.problems.push_back(shellWord(node) + ": " + fault);
        }
    }
    if (tree.nodes.empty() && tree.problems.empty()) {
        tree.problems.push_back(shellWord(directory) + ": no env file names the files of a node");
    }
    return tree;
}

void writeTree(const Nodes& nodes, const std::string& directory) {
    fs::create_directories(directory);
    for (const auto& [node, files] : nodes) {
        for (const auto& [path, text] : files) {
            const fs::path target = fs::path(directory) / path;
            fs::create_directories(target.parent_path());
            sysconfctl::writeOutputFile(target, text);
        }
    }
}

std::optional<TreeState> readState(const std::string& directory) {
    const std::string path = statePath(directory);
    try {
        const Json::Value value = parsedObject(sysconfctl::readBytes(path));
        return TreeState{sysconfctl::textAt(value, {"cluster"}),
                         sysconfctl::textAt(value, {"prefix"}), integerAt(value, "version"),
                         sysconfctl::textAt(value, {"id"})};
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory) {
            return std::nullopt;
        }
        throw sysconfctl::UsageError(
            fmt::format("cannot read {}: {}", shellWord(path), error.code().message()));
    } catch (const EtcdError&) {
        throw sysconfctl::UsageError(shellWord(path) +
                                     " is not a JSON object; remove it and use --based-on");
    }
}

void writeState(const std::string& directory, const TreeState& state) {
    Json::Value value;
    value["cluster"] = state.cluster;
    value["prefix"] = state.prefix;
    value["version"] = Json::Int64(state.version);
    value["id"] = state.id;
    sysconfctl::writeOutputFile(statePath(directory), sysconfctl::indentedJson(value));
}

} // namespace sysconfsync
