#include "NaiveReader.h"

#include <functional>

namespace {

/// A step of a load: the first value of the wrong type ends it.
void attempt(const std::function<void()>& step) {
    try {
        step();
    } catch (const Json::Exception&) {
        return;
    }
}

std::string internalIP(Json::Value root, const std::string& id) {
    return naive::internalServiceAddress(root["nodeList"][id]["IPAddresses"]);
}

} // namespace

void NaiveReader::load(const Files& files) {
    m_files = files;
    m_southIP.reset();
    m_databases.clear();
    attempt([&] {
        if (m_files.appConfig) {
            loadAppConfig();
        }
        if (m_files.nodeList) {
            loadNodeList();
        }
    });
    loadRoles();
}

void NaiveReader::loadAppConfig() {
    Json::Value root = *m_files.appConfig;
    Json::Value databases = root["databases"];
    for (const std::string& name : databases.getMemberNames()) {
        m_databases[name] = databases[name];
    }
    Json::Value process = root["processes"][m_instanceId];
    m_maintenanceIP = process["IR"]["ip"].asString();
    m_localhostIP = process["local"]["ip"].asString();
    m_wssIP = process["wss"]["ip"].asString();
    m_wssPort = process["wss"]["port"].asInt();
    m_localPort = process["local"]["port"].asInt();
    m_corbaPort = process["CORBA"]["port"].asInt();
    m_corbaSSLPort = process["CORBA_SSL"]["port"].asInt();
    m_nodeId = process["nodeId"].asString();
    m_floatNodeId = m_nodeId;
}

void NaiveReader::loadNodeList() {
    Json::Value root = *m_files.nodeList;
    Json::Value& nodes = root["nodeList"];
    if (nodes[m_nodeId]["extAttr"]["hostType"].asString() == "standby") {
        getSourceNodeId(m_floatNodeId);
    }
    m_hostTag = nodes[m_floatNodeId]["extAttr"]["HOSTID"].asString();
}

void NaiveReader::loadRoles() {
    if (m_files.appConfig) {
        attempt([&] {
            Json::Value root = *m_files.appConfig;
            m_roleNodeId = root["processes"][m_instanceId]["nodeId"].asString();
        });
    }
    if (m_files.nodeList) {
        attempt([&] { m_localInternalIP = internalIP(*m_files.nodeList, m_roleNodeId); });
        attempt([&] {
            Json::Value root = *m_files.nodeList;
            m_tenancy = root["nodeList"][m_roleNodeId]["assignedToTenancy"].asString();
        });
    }
    if (m_files.managerNodeList) {
        attempt([&] {
            naive::masterAndStandby(*m_files.managerNodeList, m_tenancy, m_masterNodeId,
                                    m_standbyNodeId);
        });
        attempt([&] {
            m_masterIP = internalIP(*m_files.managerNodeList, m_masterNodeId);
            m_standbyIP = internalIP(*m_files.managerNodeList, m_standbyNodeId);
        });
    }
}

int NaiveReader::getDBInfo(const std::string& name, Json::Value& info) {
    if (!m_databases.contains(name)) {
        return -1;
    }
    info = m_databases[name];
    return 0;
}

int NaiveReader::getAllDBInfo(std::map<std::string, Json::Value>& all) {
    all = m_databases;
    return 0;
}

int NaiveReader::getDBAccessPort(const std::string& name, unsigned int index) {
    if (!m_databases.contains(name)) {
        return -1;
    }
    const Json::Value& database = m_databases[name];
    return database[index]["accessPort"].asInt();
}

std::string NaiveReader::databaseText(const std::string& name, unsigned int index,
                                      const char* field) {
    if (!m_databases.contains(name)) {
        return "";
    }
    const Json::Value& database = m_databases[name];
    return database[index][field].asString();
}

std::string NaiveReader::getDBType(const std::string& name, unsigned int index) {
    return databaseText(name, index, "type");
}

std::string NaiveReader::getDBUserName(const std::string& name, unsigned int index) {
    return databaseText(name, index, "user");
}

std::string NaiveReader::getDBServiceName(const std::string& name, unsigned int index) {
    return databaseText(name, index, "serviceName");
}

std::string NaiveReader::getDBPassword(const std::string& name, unsigned int index) {
    return databaseText(name, index, "passwd");
}

std::string NaiveReader::getDBServerName(const std::string& name, unsigned int index) {
    return databaseText(name, index, "serverName");
}

std::string NaiveReader::getDBAccessHost(const std::string& name, unsigned int index) {
    return databaseText(name, index, "accessHost");
}

std::string NaiveReader::getDBLib(const std::string& name, unsigned int index) {
    if (!m_databases.contains(name)) {
        return "";
    }
    const Json::Value& database = m_databases[name];
    return database[index]["instanceExt"]["lib"].asString();
}

std::string NaiveReader::getLocalIPByUsage(const std::string& usage) {
    return naive::localIPByUsage(m_files.nodeList, m_nodeId, m_floatNodeId, usage);
}

std::string NaiveReader::getLocalServiceIP() {
    return naive::localServiceIP(m_files.nodeList, m_floatNodeId, m_maintenanceIP);
}

void NaiveReader::getLocalNodeIPs(const std::string& usagePrefix,
                                  std::map<int, std::string>& indexedIPs, std::string& serviceIP,
                                  std::string& service2IP) {
    naive::localNodeIPs(m_files.nodeList, m_floatNodeId, usagePrefix, indexedIPs, serviceIP,
                        service2IP);
}

void NaiveReader::getLocalNodeIPs(std::map<std::string, std::string>& usageIPs) {
    naive::localNodeIPs(m_files.nodeList, m_floatNodeId, usageIPs);
}

std::string NaiveReader::getLocalNorthIP() {
    return naive::localNorthIP(m_files.nodeList, m_floatNodeId, m_maintenanceIP);
}

std::string NaiveReader::getLocalSouthIP() {
    if (!m_southIP) {
        m_southIP = naive::localSouthIP(m_files.nodeList, m_floatNodeId, m_maintenanceIP);
    }
    return *m_southIP;
}

int NaiveReader::getPFType() {
    return naive::pfType(getLocalSouthIP());
}

int NaiveReader::getIPAddresses(const std::string& fieldName, const std::string& valuePrefix,
                                std::list<std::string>& addresses) {
    return naive::ipAddresses(m_files.managerNodeList, fieldName, valuePrefix, addresses);
}

int NaiveReader::getAllFloatIP(const std::set<std::string>& usages,
                               std::map<std::string, std::set<std::string>>& floatIPs) {
    return naive::allFloatIP(m_files.managerNodeList, usages, floatIPs);
}

void NaiveReader::getSourceNodeId(std::string& sourceNodeId) {
    naive::sourceNodeId(m_files.nodeList, m_hostAddresses, sourceNodeId);
}
