// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Sources.h"

#include <rules/ReaderLoad.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace sysconfctl {

/// The value of the wrong type at which a load stopped.
struct Stop {
    const SourceFile* file = nullptr;
    located::Path path;
    std::string sentence;
    Quarncommon::rules::TypeMismatch mismatch;
};

/// The values that the library's singletons keep from a load.
struct Values {
    std::map<std::string, Json::Value> databases;
    std::string maintenanceIp;
    std::string localhostIp;
    std::string wssIp;
    int wssPort = 0;
    int localPort = 0;
    int corbaPort = 0;
    int corbaSslPort = 0;
    std::string nodeId;
    std::string hostType;
    std::string floatNodeId;
    std::string hostTag;

    std::string roleNodeId;
    std::string localInternalIp;
    std::string tenancy;
    std::string masterNodeId;
    std::string standbyNodeId;
    std::string masterInternalIp;
    std::string standbyInternalIp;

    /// The variables that a load of SysConfReader assigns.
    Quarncommon::rules::ReaderValues ofReader();
};

/// The steps of the two loaders. Each step stops at the first value of the wrong type; variables
/// that it has not assigned keep their values.
enum class LoadStep { AppConfig, NodeList, RoleNodeId, LocalIp, Tenancy, Roles, RoleIps };

/// Loads given sources as the library does: runs the library's own steps, with a trace.
class Loaded {
public:
    /// Loads the sources. Values from an earlier load remain where this one assigns none.
    void load(const Sources& sources);

    const Values& values() const { return m_values; }
    /// The value that stopped a step; null if the step was completed.
    const Stop* stop(LoadStep step) const;
    /// Whether a step has read the value at the path.
    bool hasRead(LoadStep step, const located::Path& path) const;
    /// The service addresses, by node id, of the nodes that a standby may replace.
    const std::map<std::string, std::string>& serviceAddresses() const { return m_services; }

private:
    /// Runs a step if the file loads. Returns false if a value of the wrong type stopped it.
    template <typename Load>
    bool run(LoadStep step, const SourceFile& file, Load load);
    void loadReader(const Sources& sources);
    void loadRoles(const Sources& sources);

    Values m_values;
    std::map<std::string, std::string> m_services;
    std::map<LoadStep, Stop> m_stops;
    std::map<LoadStep, std::set<located::Path>> m_reads;
};

/// The service addresses that getSourceNodeId() reads, by node id.
std::map<std::string, std::string> serviceAddressesOf(const SourceFile& list);

} // namespace sysconfctl
