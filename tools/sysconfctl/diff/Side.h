// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "explain/Prediction.h"

#include <memory>
#include <string>
#include <vector>

namespace sysconfctl {

struct ProcessFiles {
    /// The app config file within the directory, and the instance id.
    std::string key;
    std::string appConfig;
    /// Empty if the directory has none.
    std::string nodeList;
    std::string managerNodeList;
    std::string instance;
    /// Relative to the directory, so that it is equal in two copies.
    std::string appRoot;
};

class Side {
public:
    /// One process, whose files have been read.
    Side(std::string name, Sources sources);
    /// All processes of a directory.
    /// @throws UsageError if it has none.
    Side(const std::string& directory, std::vector<std::string> localAddresses);

    const std::string& name() const { return m_name; }
    /// In ascending order of their keys; empty for a single process that is not from a directory.
    const std::vector<ProcessFiles>& processes() const { return m_processes; }
    bool isOneProcess() const { return m_processes.size() <= 1; }
    std::string instance() const;

    /// One of `processes`; null: the only one.
    void open(const ProcessFiles* files);
    const Sources& sources() const { return m_prediction ? m_prediction->sources() : m_sources; }
    /// The answers of that process. Valid until open() is called again.
    const Prediction& prediction();

private:
    /// A file of the previous process is reused if its path is the same.
    Sources sourcesOf(const ProcessFiles& files);

    std::string m_name;
    std::vector<ProcessFiles> m_processes;
    std::vector<std::string> m_localAddresses;
    /// Moved into the prediction when that is created.
    Sources m_sources;
    std::unique_ptr<Prediction> m_prediction;
};

} // namespace sysconfctl
