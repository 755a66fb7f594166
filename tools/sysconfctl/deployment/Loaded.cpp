// SPDX-License-Identifier: Apache-2.0
#include "deployment/Loaded.h"

#include "deployment/Recorder.h"
#include "deployment/TypeMismatches.h"

#include <base/Exceptions.h>
#include <rules/RoleLoad.h>
#include <rules/SourceNodeId.h>

namespace sysconfctl {

namespace rules = Quarncommon::rules;

rules::ReaderValues Values::ofReader() {
    return {.databases = databases,
            .maintenanceIP = maintenanceIp,
            .localhostIP = localhostIp,
            .wssIP = wssIp,
            .wssPort = wssPort,
            .localPort = localPort,
            .corbaPort = corbaPort,
            .corbaSSLPort = corbaSslPort,
            .nodeId = nodeId,
            .hostType = hostType,
            .floatNodeId = floatNodeId,
            .hostTagName = hostTag};
}

std::map<std::string, std::string> serviceAddressesOf(const SourceFile& list) {
    std::map<std::string, std::string> services;
    // The rule throws at a value of the wrong type. Addresses that it found before are used.
    if (list.loads) {
        Quarncommon::runDroppingExceptions(
            [&] { rules::collectServiceAddresses(list.root(), services); });
    }
    return services;
}

const Stop* Loaded::stop(LoadStep step) const {
    const auto found = m_stops.find(step);
    return found != m_stops.end() ? &found->second : nullptr;
}

bool Loaded::hasRead(LoadStep step, const located::Path& path) const {
    const auto found = m_reads.find(step);
    return found != m_reads.end() && found->second.contains(path);
}

void Loaded::load(const Sources& sources) {
    m_stops.clear();
    m_reads.clear();
    m_values.databases.clear();
    m_services = serviceAddressesOf(sources.nodeList);
    loadReader(sources);
    loadRoles(sources);
}

template <typename Load>
bool Loaded::run(LoadStep step, const SourceFile& file, Load load) {
    LoadRecorder recorder(m_reads[step]);
    if (!file.loads || Quarncommon::runDroppingExceptions(
                           [&] { load(rules::TracedNode(file.root(), recorder)); })) {
        return true;
    }
    if (const auto& mismatch = recorder.mismatch) {
        m_stops[step] = Stop{&file, mismatch->path, describe(*mismatch, file.tree()), *mismatch};
    }
    return false;
}

void Loaded::loadReader(const Sources& sources) {
    // A value of the wrong type in the app config file ends the whole load.
    if (!run(LoadStep::AppConfig, sources.appConfig, [&](const rules::TracedNode& root) {
            rules::loadAppConfig(root, sources.instance.text(), m_values.ofReader());
        })) {
        return;
    }
    const auto replaceBySource = [&](std::string& nodeId) {
        if (const std::string* source = rules::sourceNode(m_services, sources.hostAddresses)) {
            nodeId = *source;
        }
    };
    run(LoadStep::NodeList, sources.nodeList, [&](const rules::TracedNode& root) {
        rules::loadNodeList(root, replaceBySource, m_values.ofReader());
    });
}

void Loaded::loadRoles(const Sources& sources) {
    Values& values = m_values;
    run(LoadStep::RoleNodeId, sources.appConfig, [&](const rules::TracedNode& root) {
        rules::loadLocalNodeId(root, sources.instance.text(), values.roleNodeId);
    });
    run(LoadStep::LocalIp, sources.nodeList, [&](const rules::TracedNode& root) {
        rules::loadLocalIp(root, values.roleNodeId, values.localInternalIp);
    });
    run(LoadStep::Tenancy, sources.nodeList, [&](const rules::TracedNode& root) {
        rules::loadTenancy(root, values.roleNodeId, values.tenancy);
    });
    run(LoadStep::Roles, sources.managerNodeList, [&](const rules::TracedNode& root) {
        rules::loadRoleNodeIds(root, values.tenancy, values.masterNodeId, values.standbyNodeId);
    });
    run(LoadStep::RoleIps, sources.managerNodeList, [&](const rules::TracedNode& root) {
        rules::loadRoleIps(root, values.masterNodeId, values.standbyNodeId, values.masterInternalIp,
                           values.standbyInternalIp);
    });
}

} // namespace sysconfctl
