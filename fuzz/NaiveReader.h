#pragma once

#include "rules/NaiveRules.h"

#include <list>
#include <map>
#include <set>
#include <string>

/// What the library's two classes do, told naively once more: how they load, and what they answer
/// afterwards. The operations have the library's names.
class NaiveReader {
public:
    struct Files {
        naive::File appConfig;
        naive::File nodeList;
        naive::File managerNodeList;
    };

    NaiveReader(std::string instanceId, std::list<std::string> hostAddresses)
        : m_instanceId(std::move(instanceId)), m_hostAddresses(std::move(hostAddresses)) {}

    /// A load over the values of the one before, as a first one or as a reload.
    void load(const Files& files);

    int getLocalPort() { return m_localPort; }
    int getCorbaPort() { return m_corbaPort; }
    int getCorbaSSLPort() { return m_corbaSSLPort; }
    int GetWssPort() { return m_wssPort; }
    std::string GetWssIPAddress() { return m_wssIP; }
    std::string getLocalhostIPAddress() { return m_localhostIP; }
    std::string getMaintenanceIPAddress() { return m_maintenanceIP; }
    std::string getLocalHostTagName() { return m_hostTag; }
    std::string getFloatNodeId() { return m_floatNodeId; }

    int getDBInfo(const std::string& name, Json::Value& info);
    int getAllDBInfo(std::map<std::string, Json::Value>& all);
    int getDBAccessPort(const std::string& name, unsigned int index);
    std::string getDBType(const std::string& name, unsigned int index);
    std::string getDBUserName(const std::string& name, unsigned int index);
    std::string getDBServiceName(const std::string& name, unsigned int index);
    std::string getDBPassword(const std::string& name, unsigned int index);
    std::string getDBServerName(const std::string& name, unsigned int index);
    std::string getDBAccessHost(const std::string& name, unsigned int index);
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
    int getPFType();

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
    void loadAppConfig();
    void loadNodeList();
    void loadRoles();
    std::string databaseText(const std::string& name, unsigned int index, const char* field);

    std::string m_instanceId;
    std::list<std::string> m_hostAddresses;
    Files m_files;
    /// Kept until the next load: it is worth not asking twice.
    std::optional<std::string> m_southIP;

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
