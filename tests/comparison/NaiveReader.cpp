// SPDX-License-Identifier: Apache-2.0
#include "comparison/NaiveReader.h"

#include <cstdlib>

namespace {

void attempt(naive::File file, const std::function<void(Json::Value&)>& step) {
    try {
        if (file) {
            step(*file);
        }
    } catch (const Json::Exception&) {
        return;
    }
}

std::string internalIP(Json::Value& root, const std::string& id) {
    return naive::internalServiceAddress(root["nodeList"][id]["IPAddresses"]);
}

} // namespace

void NaiveReader::Reload() {
    m_databases.clear();
    try {
        if (naive::File appConfig = m_sources.appConfig()) {
            loadAppConfig(std::move(*appConfig));
        }
        if (naive::File nodeList = m_sources.nodeList()) {
            loadNodeList(std::move(*nodeList));
        }
    } catch (const Json::Exception&) {
        // The values before the one of the wrong type remain assigned.
    }
    loadRoles();
}

void NaiveReader::loadAppConfig(Json::Value root) {
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

void NaiveReader::loadNodeList(Json::Value root) {
    Json::Value& nodes = root["nodeList"];
    if (nodes[m_nodeId]["extAttr"]["hostType"].asString() == "standby") {
        getSourceNodeId(m_floatNodeId);
    }
    m_hostTag = nodes[m_floatNodeId]["extAttr"]["HOSTID"].asString();
}

void NaiveReader::loadRoles() {
    attempt(m_sources.appConfig(), [&](Json::Value& root) {
        m_roleNodeId = root["processes"][m_instanceId]["nodeId"].asString();
    });
    attempt(m_sources.nodeList(),
            [&](Json::Value& root) { m_localInternalIP = internalIP(root, m_roleNodeId); });
    attempt(m_sources.nodeList(), [&](Json::Value& root) {
        m_tenancy = root["nodeList"][m_roleNodeId]["assignedToTenancy"].asString();
    });
    InitMasterAndStandyNodeId();
    InitMasterAndStandyIp();
}

void NaiveReader::InitMasterAndStandyNodeId() {
    attempt(m_sources.managerNodeList(), [&](Json::Value& root) {
        naive::masterAndStandby(std::move(root), m_tenancy, m_masterNodeId, m_standbyNodeId);
    });
}

void NaiveReader::InitMasterAndStandyIp() {
    attempt(m_sources.managerNodeList(), [&](Json::Value& root) {
        m_masterIP = internalIP(root, m_masterNodeId);
        m_standbyIP = internalIP(root, m_standbyNodeId);
    });
}

std::string NaiveReader::GetAppRoot() {
    const char* root = std::getenv("APP_ROOT");
    return root != nullptr ? root : "";
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
    Json::Value database = m_databases[name];
    return database[index]["accessPort"].asInt();
}

std::string NaiveReader::databaseText(const std::string& name, unsigned int index,
                                      const char* field) {
    if (!m_databases.contains(name)) {
        return "";
    }
    Json::Value database = m_databases[name];
    return database[index][field].asString();
}

std::string NaiveReader::getDBLib(const std::string& name, unsigned int index) {
    if (!m_databases.contains(name)) {
        return "";
    }
    Json::Value database = m_databases[name];
    return database[index]["instanceExt"]["lib"].asString();
}

std::string NaiveReader::getLocalIPByUsage(const std::string& usage) {
    return naive::localIPByUsage(m_sources.nodeList(), m_nodeId, m_floatNodeId, usage);
}

std::string NaiveReader::getLocalServiceIP() {
    return naive::localServiceIP(m_sources.nodeList(), m_floatNodeId, m_maintenanceIP);
}

void NaiveReader::getLocalNodeIPs(const std::string& usagePrefix,
                                  std::map<int, std::string>& indexedIPs, std::string& serviceIP,
                                  std::string& service2IP) {
    naive::localNodeIPs(m_sources.nodeList(), m_floatNodeId, usagePrefix, indexedIPs, serviceIP,
                        service2IP);
}

void NaiveReader::getLocalNodeIPs(std::map<std::string, std::string>& usageIPs) {
    naive::localNodeIPs(m_sources.nodeList(), m_floatNodeId, usageIPs);
}

std::string NaiveReader::getLocalNorthIP() {
    return naive::localNorthIP(m_sources.nodeList(), m_floatNodeId, m_maintenanceIP);
}

std::string NaiveReader::getLocalSouthIP() {
    return naive::localSouthIP(m_sources.nodeList(), m_floatNodeId, m_maintenanceIP);
}

int NaiveReader::getIPAddresses(const std::string& fieldName, const std::string& valuePrefix,
                                std::list<std::string>& addresses) {
    return naive::ipAddresses(m_sources.managerNodeList(), fieldName, valuePrefix, addresses);
}

int NaiveReader::getAllFloatIP(const std::set<std::string>& usages,
                               std::map<std::string, std::set<std::string>>& floatIPs) {
    return naive::allFloatIP(m_sources.managerNodeList(), usages, floatIPs);
}

void NaiveReader::getSourceNodeId(std::string& sourceNodeId) {
    naive::sourceNodeId(m_sources.nodeList(), m_sources.hostAddresses(), sourceNodeId);
}
