// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Sources.h"

#include <rules/ReaderLoad.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace sysconfctl {

/// Where a load went no further: the value that it could not take.
struct Stop {
    const SourceFile* file = nullptr;
    located::Path path;
    std::string sentence;
    Quarncommon::rules::TypeMismatch mismatch;
};

/// What the library's singletons keep of a load.
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

    /// What a load of SysConfReader assigns to.
    Quarncommon::rules::ReaderValues ofReader();
};

/// The steps of the two loaders. Each one ends at the first value that it cannot take, keeping what
/// it has not set.
enum class LoadStep { AppConfig, NodeList, RoleNodeId, LocalIp, Tenancy, Roles, RoleIps };

/// A load of the library over given sources: the library's own steps, with a trace.
class Loaded {
public:
    /// One more load, over the values of the one before.
    void load(const Sources& sources);

    const Values& values() const { return m_values; }
    /// What ended a step, null when it came to its end.
    const Stop* stop(LoadStep step) const;
    /// Whether a step has read the value at that path.
    bool hasRead(LoadStep step, const located::Path& path) const;
    /// The service addresses of the nodes that a standby node may stand in for.
    const std::map<std::string, std::string>& serviceAddresses() const { return m_services; }

private:
    /// Runs a step over a file that loads; whether it came to its end.
    template <typename Load>
    bool run(LoadStep step, const SourceFile& file, Load load);
    void loadReader(const Sources& sources);
    void loadRoles(const Sources& sources);

    Values m_values;
    std::map<std::string, std::string> m_services;
    std::map<LoadStep, Stop> m_stops;
    std::map<LoadStep, std::set<located::Path>> m_reads;
};

/// What getSourceNodeId finds: the node ids with their service addresses.
std::map<std::string, std::string> serviceAddressesOf(const SourceFile& list);

} // namespace sysconfctl
