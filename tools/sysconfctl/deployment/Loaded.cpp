#include "deployment/Loaded.h"

#include "deployment/Misfits.h"

#include <rules/NodeList.h>
#include <rules/Roles.h>
#include <rules/SourceNodeId.h>
#include <sysconfreader/Guards.h>

#include <exception>

namespace sysconfctl {
namespace {

namespace rules = Quarncommon::rules;

constexpr const char* kInternalService = "internal_service";

/// Runs a step of a load over a file's tree; what stopped it, if anything did.
/// @param misfits Returns the misfits of the file; called only if the step stops.
template <typename Misfits, typename Step>
std::optional<Stop> stopOf(const SourceFile& file, Misfits misfits, const Values& before,
                           Values& values, Step step) {
    try {
        step(file.tree, values);
        return std::nullopt;
    } catch (const std::exception&) {
        const auto misfit = blame(file.tree, misfits(), [&](const Json::Value& root) {
            Values scratch = before;
            step(root, scratch);
        });
        return misfit ? Stop{&file, misfit->path, misfit->sentence}
                      : Stop{&file, {}, "holds a value that the library cannot take"};
    }
}

// The order of the assignments is the loader's: what stands before a stop is new.
void takeProcess(const Json::Value& process, Values& values) {
    values.maintenanceIp = process["IR"]["ip"].asString();
    values.localhostIp = process["local"]["ip"].asString();
    values.wssIp = process["wss"]["ip"].asString();
    values.wssPort = process["wss"]["port"].asInt();
    values.localPort = process["local"]["port"].asInt();
    values.corbaPort = process["CORBA"]["port"].asInt();
    values.corbaSslPort = process["CORBA_SSL"]["port"].asInt();
    values.nodeId = process["nodeId"].asString();
    values.floatNodeId = values.nodeId;
}

} // namespace

std::map<std::string, std::string> serviceAddressesOf(const SourceFile& list) {
    std::map<std::string, std::string> services;
    // What was found before a value that the rule cannot take counts.
    if (list.loads) {
        Quarncommon::completes([&] { rules::collectServiceAddresses(list.tree, services); });
    }
    return services;
}

const Stop* Loaded::stop(LoadStep step) const {
    const auto found = m_stops.find(step);
    return found != m_stops.end() ? &found->second : nullptr;
}

void Loaded::load(const Sources& sources) {
    m_stops.clear();
    m_values.databases.clear();
    m_services = serviceAddressesOf(sources.nodeList);
    loadReader(sources);
    loadRoles(sources);
}

void Loaded::loadReader(const Sources& sources) {
    loadAppConfig(sources);
    // A value that the loader cannot take ends all of it, the node list's part included.
    if (stop(LoadStep::AppConfig) == nullptr && sources.nodeList.loads) {
        loadNodeList(sources);
    }
}

void Loaded::loadAppConfig(const Sources& sources) {
    if (!sources.appConfig.loads) {
        return;
    }
    const std::string instance = sources.instance.text();
    const auto step = [&](const Json::Value& root, Values& values) {
        const Json::Value& databases = root["databases"];
        for (const std::string& name : databases.getMemberNames()) {
            values.databases[name] = databases[name];
        }
        takeProcess(root["processes"][instance], values);
    };
    const Values before = m_values;
    const auto misfits = [&] { return appConfigMisfits(sources.appConfig.tree, instance); };
    if (auto stop = stopOf(sources.appConfig, misfits, before, m_values, step)) {
        m_stops[LoadStep::AppConfig] = *stop;
    }
}

void Loaded::loadNodeList(const Sources& sources) {
    const auto step = [&](const Json::Value& root, Values& values) {
        values.hostType = rules::hostType(rules::nodeEntry(root, values.nodeId));
        if (values.hostType == "standby") {
            if (const std::string* source = rules::sourceNode(m_services, sources.hostAddresses)) {
                values.floatNodeId = *source;
            }
        }
        values.hostTag = rules::nodeEntry(root, values.floatNodeId)["extAttr"]["HOSTID"].asString();
    };
    const Values before = m_values;
    const auto misfits = [&] { return nodeListMisfits(sources.nodeList.tree); };
    if (auto stop = stopOf(sources.nodeList, misfits, before, m_values, step)) {
        m_stops[LoadStep::NodeList] = *stop;
    }
}

void Loaded::loadRoles(const Sources& sources) {
    const auto run = [&](LoadStep name, const SourceFile& file, const auto& step) {
        if (!file.loads) {
            return;
        }
        const Values before = m_values;
        const auto misfits = [&] {
            return name == LoadStep::RoleNodeId
                       ? appConfigMisfits(file.tree, sources.instance.text())
                       : nodeListMisfits(file.tree);
        };
        if (auto stop = stopOf(file, misfits, before, m_values, step)) {
            m_stops[name] = *stop;
        }
    };
    const auto internal = [](const Json::Value& root, const std::string& id) {
        return rules::internalServiceAddress(rules::addressEntries(rules::nodeEntry(root, id)),
                                             kInternalService);
    };
    run(LoadStep::RoleNodeId, sources.appConfig, [&](const Json::Value& root, Values& values) {
        values.roleNodeId = root["processes"][sources.instance.text()]["nodeId"].asString();
    });
    run(LoadStep::LocalIp, sources.nodeList, [&](const Json::Value& root, Values& values) {
        values.localInternalIp = internal(root, values.roleNodeId);
    });
    run(LoadStep::Tenancy, sources.nodeList, [](const Json::Value& root, Values& values) {
        values.tenancy = rules::tenancy(rules::nodeEntry(root, values.roleNodeId));
    });
    run(LoadStep::Roles, sources.managerNodeList, [](const Json::Value& root, Values& values) {
        rules::findMasterAndStandby(root, values.tenancy, values.masterNodeId,
                                    values.standbyNodeId);
    });
    run(LoadStep::RoleIps, sources.managerNodeList, [&](const Json::Value& root, Values& values) {
        values.masterInternalIp = internal(root, values.masterNodeId);
        values.standbyInternalIp = internal(root, values.standbyNodeId);
    });
}

} // namespace sysconfctl
