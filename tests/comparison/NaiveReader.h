// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "comparison/NaiveRules.h"

#include <functional>
#include <list>
#include <map>
#include <set>
#include <string>

/// A literal implementation of the library's two classes in one, without locks and events.
class NaiveReader {
public:
    /// Reads and parses a file. Called whenever the library would read that file.
    using Read = std::function<naive::File()>;
    struct Sources {
        Read appConfig;
        Read nodeList;
        Read managerNodeList;
        std::function<std::list<std::string>()> hostAddresses;
    };

    NaiveReader(std::string instanceId, Sources sources)
        : m_instanceId(std::move(instanceId)), m_sources(std::move(sources)) {}

    void Reload();
    void InitMasterAndStandyNodeId();
    void InitMasterAndStandyIp();

    int getLocalPort() { return m_localPort; }
    int getCorbaPort() { return m_corbaPort; }
    int getCorbaSSLPort() { return m_corbaSSLPort; }
    int GetWssPort() { return m_wssPort; }
    std::string GetWssIPAddress() { return m_wssIP; }
    std::string getLocalhostIPAddress() { return m_localhostIP; }
    std::string getMaintenanceIPAddress() { return m_maintenanceIP; }
    std::string getLocalHostTagName() { return m_hostTag; }
    std::string getFloatNodeId() { return m_floatNodeId; }
    std::string GetAppRoot();

    int getDBInfo(const std::string& name, Json::Value& info);
    int getAllDBInfo(std::map<std::string, Json::Value>& all);
    int getDBAccessPort(const std::string& name, unsigned int index);
    std::string getDBType(const std::string& name, unsigned int index) {
        return databaseText(name, index, "type");
    }
    std::string getDBUserName(const std::string& name, unsigned int index) {
        return databaseText(name, index, "user");
    }
    std::string getDBServiceName(const std::string& name, unsigned int index) {
        return databaseText(name, index, "serviceName");
    }
    std::string getDBPassword(const std::string& name, unsigned int index) {
        return databaseText(name, index, "passwd");
    }
    std::string getDBServerName(const std::string& name, unsigned int index) {
        return databaseText(name, index, "serverName");
    }
    std::string getDBAccessHost(const std::string& name, unsigned int index) {
        return databaseText(name, index, "accessHost");
    }
    std::string getDBLib(const std::string& name, unsigned int index);

    std::string getLocalIPByUsage(const std::string& usage);
    std::string getLocalMaintenanceIP() { return getLocalIPByUsage("maintenance"); }
    std::string getLocalServiceIP();
    std::string getLocalService2IP() { return getLocalIPByUsage("service2"); }
    void getLocalNodeIPs(const std::string& usagePrefix, std::map<int, std::string>& indexedIPs,
                         std::string& serviceIP, std::string& service2IP);
    void getLocalNodeIPs(std::map<std::string, std::string>& usageIPs);
    std::string getLocalNorthIP();
    std::string getLocalSouthIP();
    int getPFType() { return naive::pfType(getLocalSouthIP()); }

    int getIPAddresses(const std::string& fieldName, const std::string& valuePrefix,
                       std::list<std::string>& addresses);
    int getAllFloatIP(const std::set<std::string>& usages,
                      std::map<std::string, std::set<std::string>>& floatIPs);
    void getSourceNodeId(std::string& sourceNodeId);

    std::string GetLocalInternalServiceIP() const { return m_localInternalIP; }
    std::string GetMasterInternalServiceIP() const { return m_masterIP; }
    std::string GetStandbyInternalServiceIP() const { return m_standbyIP; }
    std::string GetProductName() const { return m_tenancy; }

private:
    void loadAppConfig(Json::Value root);
    void loadNodeList(Json::Value root);
    void loadRoles();
    std::string databaseText(const std::string& name, unsigned int index, const char* field);

    std::string m_instanceId;
    Sources m_sources;

    std::map<std::string, Json::Value> m_databases;
    std::string m_maintenanceIP;
    std::string m_localhostIP;
    std::string m_wssIP;
    int m_wssPort = 0;
    int m_localPort = 0;
    int m_corbaPort = 0;
    int m_corbaSSLPort = 0;
    std::string m_nodeId;
    std::string m_floatNodeId;
    std::string m_hostTag;

    std::string m_roleNodeId;
    std::string m_localInternalIP;
    std::string m_tenancy;
    std::string m_masterNodeId;
    std::string m_standbyNodeId;
    std::string m_masterIP;
    std::string m_standbyIP;
};
