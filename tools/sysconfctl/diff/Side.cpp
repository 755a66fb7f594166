// SPDX-License-Identifier: Apache-2.0
#include "diff/Side.h"

#include "check/Finding.h"
#include "cli/UsageError.h"
#include "deployment/JsonValues.h"
#include "render/Text.h"

#include <fmt/format.h>

#include <filesystem>
#include <map>
#include <utility>

namespace sysconfctl {
namespace {

namespace fs = std::filesystem;

std::string pathOf(const SourceFile* file) {
    return file != nullptr ? file->path : "";
}

/// The id of its env file, or all ids in its app config file.
std::vector<std::string> instancesOf(const View& view) {
    if (view.instance) {
        return {*view.instance};
    }
    const located::Path path = {"processes"};
    const Json::Value& processes = valueAt(view.appConfig->tree(), path);
    return processes.isObject() ? processes.getMemberNames() : std::vector<std::string>();
}

std::string rootOf(const std::string& nodeList, const fs::path& directory) {
    const std::string inside = fs::path(nodeList).lexically_relative(directory);
    const std::string path = "/" + inside;
    const std::string suffix = Quarncommon::config::kNodeList.suffix;
    return path == suffix           ? "."
           : path.ends_with(suffix) ? inside.substr(0, inside.size() - suffix.size())
                                    : inside;
}

std::vector<ProcessFiles> processesIn(const std::string& directory) {
    const Inventory inventory = inventoryOf({directory}, {});
    const fs::path root = fs::path(directory + "/.").lexically_normal();
    std::map<std::string, ProcessFiles> found;
    for (const View& view : inventory.views) {
        if (view.appConfig == nullptr) {
            continue;
        }
        const std::string path = pathOf(view.appConfig);
        const std::string inside = fs::path(path).lexically_relative(root);
        for (const std::string& instance : instancesOf(view)) {
            const std::string key = inside + ' ' + instance;
            const std::string nodeList = pathOf(view.nodeList);
            found.emplace(key, ProcessFiles{key, path, nodeList, pathOf(view.managerNodeList),
                                            instance, rootOf(nodeList, root)});
        }
    }
    std::vector<ProcessFiles> processes;
    processes.reserve(found.size());
    for (auto& [key, files] : found) {
        processes.push_back(std::move(files));
    }
    return processes;
}

SourceFile taken(SourceFile& last, const std::string& path,
                 SourceFile (*read)(const std::string& path)) {
    if (!path.empty() && last.path == path) {
        return std::move(last);
    }
    return read(path);
}

/// A file that the directory lacks is treated as if its variable were unset.
void setVariable(SourceFile& file, const std::string& value) {
    file.variable.value = file.path.empty() ? std::nullopt : std::optional(value);
}

} // namespace

Side::Side(std::string name, Sources sources)
    : m_name(std::move(name)), m_sources(std::move(sources)) {}

Side::Side(const std::string& directory, std::vector<std::string> localAddresses)
    : m_name(directory), m_processes(processesIn(directory)),
      m_localAddresses(std::move(localAddresses)) {
    if (m_processes.empty()) {
        throw UsageError(fmt::format("{} has no process: no env file and no app config file with "
                                     "\"processes\"",
                                     shellWord(directory)));
    }
}

std::string Side::instance() const {
    return m_processes.empty() ? m_sources.instance.text() : m_processes.front().instance;
}

void Side::open(const ProcessFiles* files) {
    if (files == nullptr && !m_processes.empty()) {
        files = &m_processes.front();
    }
    if (files != nullptr) {
        m_sources = sourcesOf(*files);
        m_prediction.reset();
    }
}

const Prediction& Side::prediction() {
    if (!m_prediction) {
        m_prediction = std::make_unique<Prediction>(std::move(m_sources));
    }
    return *m_prediction;
}

Sources Side::sourcesOf(const ProcessFiles& files) {
    Sources last = m_prediction ? std::move(*m_prediction).takeSources() : std::move(m_sources);
    Sources sources;
    sources.instance = {Quarncommon::config::kInstanceIdVariable, files.instance};
    sources.appConfig = taken(last.appConfig, files.appConfig, readAppConfigAt);
    sources.nodeList = taken(last.nodeList, files.nodeList, readNodeListAt);
    sources.managerNodeList =
        taken(last.managerNodeList, files.managerNodeList, readManagerNodeListAt);
    setVariable(sources.nodeList, files.appRoot);
    setVariable(sources.managerNodeList, files.managerNodeList);
    sources.hostAddresses = addressesOfHost(m_localAddresses);
    return sources;
}

} // namespace sysconfctl
