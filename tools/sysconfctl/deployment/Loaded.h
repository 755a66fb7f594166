// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "deployment/Sources.h"

#include <rules/ReaderLoad.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace sysconfctl {

struct Stop {
    const SourceFile* file = nullptr;
    located::Path path;
    std::string sentence;
    Quarncommon::rules::TypeMismatch mismatch;
};

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

    Quarncommon::rules::ReaderValues ofReader();
};

/// The steps of the two loaders. Each stops at the first value of the wrong type.
enum class LoadStep { AppConfig, NodeList, RoleNodeId, LocalIp, Tenancy, Roles, RoleIps };

/// Runs the library's own steps, with a trace.
class Loaded {
public:
    /// Values from an earlier load remain where this one assigns none.
    void load(const Sources& sources);

    const Values& values() const { return m_values; }
    /// Null if the step was completed.
    const Stop* stop(LoadStep step) const;
    bool hasRead(LoadStep step, const located::Path& path) const;
    /// By node id.
    const std::map<std::string, std::string>& serviceAddresses() const { return m_services; }

private:
    /// Returns false if a value of the wrong type stopped the step.
    template <typename Load>
    bool run(LoadStep step, const SourceFile& file, Load load);
    void loadReader(const Sources& sources);
    void loadRoles(const Sources& sources);

    Values m_values;
    std::map<std::string, std::string> m_services;
    std::map<LoadStep, Stop> m_stops;
    std::map<LoadStep, std::set<located::Path>> m_reads;
};

std::map<std::string, std::string> serviceAddressesOf(const SourceFile& list);

} // namespace sysconfctl
