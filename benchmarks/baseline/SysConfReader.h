#pragma once

#include <ace/RW_Thread_Mutex.h>
#include <json/value.h>

#include <list>
#include <map>
#include <set>
#include <string>

/// The reference for the product's speed: every algorithm written literally, without optimisation,
/// with jsoncpp's own reader. Do not optimise it. Never linked into the product. Operations give
/// the same answers as the product's operations of the same name.
namespace baseline {

class SysConfReader {
public:
    static SysConfReader* Instance();
    static void Destory();
    void Reload();

    int getLocalPort();
    std::string getMaintenanceIPAddress();
    std::string getFloatNodeId();
    std::string getLocalHostTagName();
    int getDBAccessPort(const std::string& name, unsigned int index);
    std::string getDBUserName(const std::string& name, unsigned int index);

    std::string getLocalIPByUsage(const std::string& usage);
    std::string getLocalMaintenanceIP();
    std::string getLocalServiceIP();
    std::string getLocalService2IP();
    void getLocalNodeIPs(const std::string& usagePrefix, std::map<int, std::string>& indexedIPs,
                         std::string& serviceIP, std::string& service2IP);
    void getLocalNodeIPs(std::map<std::string, std::string>& usageIPs);
    std::string getLocalNorthIP();
    std::string getLocalSouthIP();

    int getIPAddresses(const std::string& fieldName, const std::string& valuePrefix,
                       std::list<std::string>& addresses);
    int getAllFloatIP(std::set<std::string> usages,
                      std::map<std::string, std::set<std::string>>& floatIPs);
    void getSourceNodeId(std::string& sourceNodeId);

private:
    void init_i();

    std::map<std::string, Json::Value> m_dbInfo;
    std::string m_maintenanceIP;
    std::string m_localhostIP;
    std::string m_hostTagName;
    std::string m_wssIP;
    int m_wssPort = 0;
    int m_localPort = 0;
    int m_corbaPort = 0;
    int m_corbaSSLPort = 0;
    std::string m_nodeId;
    std::string m_hostType;
    std::string m_floatNodeId;

    static SysConfReader* m_pInstance;
    static ACE_RW_Thread_Mutex m_pMutex;
};

} // namespace baseline
